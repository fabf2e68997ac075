#include <CLI/CLI.hpp>

#include <algorithm>
#include <future>

#include "clip_options.h"
#include "com.h"
#include "commands.h"
#include "console.h"
#include "playback_report.h"
#include "process_usage.h"
#include "text.h"

namespace nyx::host {
namespace {

struct BenchOptions {
    ClipOptions clip;
    std::string format = "rgb32";
    long repeat = 3;
    int graphs = 1;
};

PlaybackGraph::Options GraphOptions(const BenchOptions& options) {
    PlaybackGraph::Options graph;
    graph.format = FindPictureFormat(options.format);
    graph.frames = options.clip.frames;
    graph.videoInfo2 = options.clip.videoInfo2;
    return graph;
}

/// Plays the clip in a graph and a thread of its own, so often as the measured graph does. The
/// number of frames that arrived; what goes wrong comes out of the future.
std::future<long> PlayBeside(const BenchOptions& options) {
    return std::async(std::launch::async, [&options] {
        const ComApartment apartment;
        const std::unique_ptr<ClipReader> clip = OpenClip(options.clip.path);
        PlaybackGraph graph(*clip, GraphOptions(options), [](const ArrivedFrame&) {});
        long arrived = 0;
        for (long pass = 0; pass < options.repeat; ++pass) {
            arrived += graph.Play([](LONG) {}).arrived;
        }
        return arrived;
    });
}

ExitCode RunBench(const BenchOptions& options) {
    const std::unique_ptr<ClipReader> opened = OpenClip(options.clip.path);
    const ClipReader& clip = *opened;
    Print(options.clip.path + ": " + DescribeClip(clip) + "\n");

    PlaybackGraph graph(clip, GraphOptions(options), [](const ArrivedFrame&) {});
    Print("decoder: " + graph.DecoderName() + ", delivers " + options.format + "\n");

    std::vector<std::future<long>> beside;
    for (int i = 1; i < options.graphs; ++i) {
        beside.push_back(PlayBeside(options));
    }
    ExitCode code = ExitCode::kOk;
    long long arrived = 0;
    ProcessUsage first;  // after the first pass, when everything has its memory
    const ProcessUsage start = MeasureProcess();
    double bestDecode = 0;
    double bestRate = 0;
    for (long pass = 1; pass <= options.repeat && code == ExitCode::kOk; ++pass) {
        PassResult result;
        {
            Progress progress("playing", std::min(options.clip.frames, clip.FrameCount()));
            result = graph.Play([&progress](LONG done) { progress.Show(done); });
        }
        const double rate = result.seconds > 0 ? result.arrived / result.seconds : 0;
        Print(
            Format("pass %ld: %ld frames in %.3f s, %.1f frames per second; %.3f ms per frame, "
                   "of that %.3f ms in the decoder\n",
                   pass, result.arrived, result.seconds, rate, rate > 0 ? 1000 / rate : 0.0,
                   result.codecMsPerFrame));
        bestDecode =
            pass == 1 ? result.codecMsPerFrame : std::min(bestDecode, result.codecMsPerFrame);
        bestRate = std::max(bestRate, rate);
        arrived += result.arrived;
        first = pass == 1 ? MeasureProcess() : first;
        code = ReportFaults(result);
    }
    for (std::future<long>& other : beside) {
        const long frames = other.get();
        Print(Format("beside it: %ld frames\n", frames));
        arrived += frames;
    }
    const ProcessUsage end = MeasureProcess();
    Print(Format("processor: %.3f ms per frame\n",
                 arrived > 0
                     ? (end.cpuSeconds - start.cpuSeconds) * 1000 / static_cast<double>(arrived)
                     : 0.0));
    Print(Format("memory: %.1f MB, %+.1f MB since the first pass\n", end.privateMBytes,
                 end.privateMBytes - first.privateMBytes));
    Print(Format("best: %.1f frames per second, %.3f ms per frame in the decoder\n", bestRate,
                 bestDecode));
    return code;
}

}  // namespace

void AddBenchCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<BenchOptions>();
    CLI::App* command =
        app.add_subcommand("bench", "Measure how fast a clip decodes through a filter graph");
    AddClipOptions(*command, options->clip);
    AddFormatOption(*command, options->format);
    command->add_option("--repeat", options->repeat, "Play the clip so many times")
        ->check(CLI::Range(1L, 1000000L))
        ->type_name("N")
        ->capture_default_str();
    command->add_option("--graphs", options->graphs, "Play it in so many graphs at once")
        ->check(CLI::Range(1, 64))
        ->type_name("N")
        ->capture_default_str();
    command->callback([options, &action] { action = [options] { return RunBench(*options); }; });
}

}  // namespace nyx::host
