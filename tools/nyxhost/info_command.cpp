#include <CLI/CLI.hpp>

#include <map>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "dv_description.h"
#include "graph_tools.h"
#include "playback_report.h"
#include "progress.h"
#include "text.h"

namespace nyx::host {
namespace {

/// AM_SAMPLE2_PROPERTIES::dwTypeSpecificFlags of video: the sample's first field is field 1.
constexpr DWORD kVideoFlagField1First = 0x4;

std::string FieldOrderText(const MediaType& type) {
    if (!type.HasPicture() || type.formattype != FORMAT_VideoInfo2) {
        return "untold";
    }
    const DWORD flags = type.Info2().dwInterlaceFlags;
    return (flags & AMINTERLACE_IsInterlaced) == 0  ? "progressive"
           : (flags & AMINTERLACE_Field1First) != 0 ? "top first"
                                                    : "bottom first";
}

std::string AspectText(const MediaType& type) {
    const bool told = type.HasPicture() && type.formattype == FORMAT_VideoInfo2;
    return told
               ? Format("%lu:%lu", type.Info2().dwPictAspectRatioX, type.Info2().dwPictAspectRatioY)
               : "-";
}

/// The flag of the sample itself: "set", "clear", or "-" where it has none.
std::string Field1Text(IMediaSample& sample) {
    const auto sample2 = As<IMediaSample2>(&sample);
    AM_SAMPLE2_PROPERTIES properties{};
    if (!sample2 ||
        FAILED(sample2->GetProperties(sizeof(properties), reinterpret_cast<BYTE*>(&properties)))) {
        return "-";
    }
    return (properties.dwTypeSpecificFlags & kVideoFlagField1First) != 0 ? "set" : "clear";
}

/// A frame in words, as it is found.
struct FrameFacts {
    std::string packet;
    std::string picture;
    std::string dv;
};

/// What the container tells of the streams.
void PrintStreams(const std::string& path, const Footage& clip) {
    const MediaType& type = clip.Video().type;
    const auto& head = *reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat);
    Print(path + ": " + DescribeVideo(clip) + "\n");
    Print("picture: " + FieldOrderText(type) + ", " + AspectText(type) +
          Format(", %.1f Mbit/s, packets of at most %lu bytes\n", head.dwBitRate / 1e6,
                 type.Header().biSizeImage));
    for (const SourceStream& stream : clip.Sound()) {
        Print("sound: " + DescribeAudio(stream.type) + "\n");
    }
}

bool IsDv(const MediaType& type) {
    const std::string code = FourCCText(type.subtype.Data1);
    return code == "QDVC" || code == "QDV5" || code == "QDVH";
}

/// Looks at the packets, without any decoder.
std::map<LONG, FrameFacts> ReadPackets(const ClipOptions& clip) {
    std::map<LONG, FrameFacts> facts;
    PlaybackGraph::Options options = clip.graph;
    options.deliver = PlaybackGraph::Deliver::kPackets;
    PlaybackGraph graph(clip.path, options, [&](const ArrivedFrame& frame) {
        BYTE* data = DataOf(frame.sample);
        const LONG size = frame.sample.GetActualDataLength();
        facts[frame.index].packet =
            Format("%9ld %-3s", size, frame.sample.IsSyncPoint() == S_OK ? "yes" : "no");
        if (IsDv(graph.ConnectedType())) {
            facts[frame.index].dv = DescribeDvFrame(data, static_cast<std::size_t>(size));
        }
    });
    PrintStreams(clip.path, graph.Clip());
    Progress progress("reading", graph.FramesToCome());
    graph.Play([&progress](LONG done) { progress.Show(done); });
    return facts;
}

/// Adds what the decoder tells; its name.
std::string ReadPictures(const ClipOptions& clip, std::map<LONG, FrameFacts>* facts,
                         ExitCode* code) {
    PlaybackGraph graph(clip.path, clip.graph, [facts](const ArrivedFrame& frame) {
        const bool told = frame.type.HasPicture() && frame.type.formattype == FORMAT_VideoInfo2;
        (*facts)[frame.index].picture =
            Format("  %-12s 0x%02lX   %-9s %-6s%s", FieldOrderText(frame.type).c_str(),
                   told ? frame.type.Info2().dwInterlaceFlags : 0, AspectText(frame.type).c_str(),
                   Field1Text(frame.sample).c_str(), frame.typeChanged ? "  new type" : "");
    });
    PassResult result;
    {
        Progress progress("decoding", graph.FramesToCome());
        result = graph.Play([&progress](LONG done) { progress.Show(done); });
    }
    for (const LostFrame& frame : result.lost) {
        (*facts)[frame.index].picture = "  could not be decoded: " + ResultText(frame.result);
    }
    *code = ReportLostFrames(result, "decoded");
    return graph.DecoderName();
}

ExitCode RunInfo(const ClipOptions& options) {
    std::map<LONG, FrameFacts> facts = ReadPackets(options);
    ExitCode code = ExitCode::kOk;
    std::string decoder;
    std::string problem;
    try {
        decoder = ReadPictures(options, &facts, &code);
    } catch (const Failure& failure) {
        // The file itself can be described all the same.
        if (failure.Code() != ExitCode::kNoDecoder && failure.Code() != ExitCode::kRefused &&
            failure.Code() != ExitCode::kNoEngine) {
            throw;
        }
        code = failure.Code();
        problem = failure.what();
    }
    Print("decoder: " + (decoder.empty() ? "none" : decoder) + "\n frame     bytes key");
    Print(decoder.empty() ? "\n" : "  field order  flags  aspect    field-1-first flag\n");
    for (const auto& [index, frame] : facts) {
        Print(Format("%6ld ", index) + frame.packet + frame.picture + "\n");
        if (!frame.dv.empty()) {
            Print("       " + frame.dv + "\n");
        }
    }
    if (!problem.empty()) {
        PrintError(problem);
    }
    return code;
}

}  // namespace

void AddInfoCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<ClipOptions>();
    options->graph.frames = 1;
    CLI::App* command = app.add_subcommand(
        "info",
        "Show a clip's streams, and what is found in its first frame or in those asked for");
    AddClipOptions(*command, *options);
    command->callback([options, &action] { action = [options] { return RunInfo(*options); }; });
}

}  // namespace nyx::host
