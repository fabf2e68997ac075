#include <CLI/CLI.hpp>

#include <algorithm>
#include <future>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

struct BenchOptions {
    ClipOptions clip;
    long repeat = 5;
    int graphs = 1;
};

void Ignore(const ArrivedFrame&) {}

/// A digest of all pictures of a pass, in their order.
void AddTo(std::size_t* digest, const ArrivedFrame& frame) {
    const auto size = static_cast<std::size_t>(frame.sample.GetActualDataLength());
    const auto* data = reinterpret_cast<const char*>(DataOf(frame.sample));
    *digest = *digest * 31 + std::hash<std::string_view>()({data, size});
}

/// The clip's packets as the file holds them. Failure kTooLarge when they take too much memory.
FrameList LoadFrames(const ClipOptions& clip) {
    constexpr std::size_t kMaxBytes = std::size_t{600} << 20;  // fits a 32-bit process
    ClipGraph::Options options = clip.graph;
    options.packets = true;
    const auto frames = std::make_shared<std::vector<std::vector<BYTE>>>();
    FrameList list;
    std::size_t bytes = 0;
    ClipGraph graph(clip.path, options, [&](const ArrivedFrame& frame) {
        const BYTE* data = DataOf(frame.sample);
        const LONG size = frame.sample.GetActualDataLength();
        frames->emplace_back(data, data + size);
        list.largest = std::max(list.largest, size);
        bytes += frames->back().size();
        if (bytes > kMaxBytes) {
            throw Failure(ExitCode::kTooLarge,
                          "the frames take more than 600 MiB: limit them with --frames");
        }
    });
    graph.Play();
    list.type = graph.ConnectedType();
    list.rate = RateOf(list.type);
    list.count = static_cast<LONG>(frames->size());
    list.read = [frames](LONG index, BYTE* to, LONG* size) {
        const std::vector<BYTE>& frame = frames->at(static_cast<std::size_t>(index));
        std::copy(frame.begin(), frame.end(), to);
        *size = static_cast<LONG>(frame.size());
        return S_OK;
    };
    return list;
}

/// Plays the file in its own graph and thread, as often as the measured graph does. Returns the
/// number of frames that arrived; the future throws failures.
std::future<long> PlayBeside(const BenchOptions& options) {
    return std::async(std::launch::async, [&options] {
        const ComApartment apartment;
        ClipGraph graph(options.clip.path, options.clip.graph, Ignore);
        long arrived = 0;
        for (long pass = 0; pass < options.repeat; ++pass) {
            arrived += graph.Play().arrived;
        }
        return arrived;
    });
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

ExitCode RunBench(const BenchOptions& options) {
    bool digesting = true;
    std::size_t fileDigest = 0;
    std::size_t memoryDigest = 0;
    const auto addTo = [&digesting](std::size_t* digest) {
        return [&digesting, digest](const ArrivedFrame& frame) {
            if (digesting) {
                AddTo(digest, frame);
            }
        };
    };
    ClipGraph file(options.clip.path, options.clip.graph, addTo(&fileDigest));
    Print(options.clip.path + ": " + DescribeVideo(file.Clip()) + "\n");
    Print("decoder: " + file.DecoderName() + ", delivers " + options.clip.graph.format->name +
          "\n");
    ClipGraph memory(LoadFrames(options.clip), options.clip.graph, addTo(&memoryDigest));

    memory.Play("memory, first pass");
    file.Play("file, first pass");
    digesting = false;
    const bool same = fileDigest == memoryDigest;
    Print(std::string("pictures: ") + (same ? "the same" : "not the same") +
          " from the file and from memory\n");

    std::vector<std::future<long>> beside;
    for (int i = 1; i < options.graphs; ++i) {
        beside.push_back(PlayBeside(options));
    }
    PassResult result;
    std::vector<double> fromFile;  // milliseconds per frame
    std::vector<double> fromMemory;
    for (long pass = 1; pass <= options.repeat; ++pass) {
        const std::string which = Format(", pass %ld of %ld", pass, options.repeat);
        fromMemory.push_back(1000 * memory.Play("memory" + which).secondsPerFrame);
        result = file.Play("file" + which);
        fromFile.push_back(1000 * result.secondsPerFrame);
        Print(Format("pass %ld: %ld frames, %.3f ms per frame; from memory %.3f ms\n", pass,
                     result.arrived, fromFile.back(), fromMemory.back()));
    }
    for (std::future<long>& other : beside) {
        Print(Format("in parallel: %ld frames\n", other.get()));
    }
    const double ours = Median(fromFile);
    const double bound = Median(fromMemory);
    Print(Format(
        "median: %.3f ms per frame, %.1f frames per second; from memory %.3f ms; "
        "reading the file costs %+.1f %%\n",
        ours, ours > 0 ? 1000 / ours : 0.0, bound, bound > 0 ? 100 * (ours / bound - 1) : 0.0));
    const ExitCode code = ReportLostFrames(result, "decoded");
    return same ? code : ExitCode::kDecode;
}

}  // namespace

void AddBenchCommand(CLI::App& app, Action& action) {
    const auto [command, options] = AddCommand(
        app, action, "bench",
        "Measure how fast a clip decodes through a filter graph, from its file and from memory",
        RunBench);
    AddClipOptions(command, options.clip);
    AddFormatOption(command, options.clip, "yuy2");
    command.add_option("--repeat", options.repeat, "Number of passes over the clip")
        ->check(CLI::Range(1L, 1000000L))
        ->type_name("N")
        ->capture_default_str();
    command.add_option("--graphs", options.graphs, "Number of graphs that play it at once")
        ->check(CLI::Range(1, 64))
        ->type_name("N")
        ->capture_default_str();
}

}  // namespace nyx::host
