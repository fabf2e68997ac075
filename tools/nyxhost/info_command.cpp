#include <CLI/CLI.hpp>

#include <map>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "dv_description.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

/// AM_SAMPLE2_PROPERTIES::dwTypeSpecificFlags of video: the sample's first field is field 1.
constexpr DWORD kVideoFlagField1First = 0x4;

bool HasInfo2(const MediaType& type) {
    return type.HasPicture() && type.formattype == FORMAT_VideoInfo2;
}

std::string FieldOrderText(const MediaType& type) {
    if (!HasInfo2(type)) {
        return "unspecified";
    }
    const DWORD flags = type.Info2().dwInterlaceFlags;
    if ((flags & AMINTERLACE_IsInterlaced) == 0) {
        return "progressive";
    }
    return (flags & AMINTERLACE_Field1First) != 0 ? "top first" : "bottom first";
}

std::string AspectText(const MediaType& type) {
    return HasInfo2(type)
               ? Format("%lu:%lu", type.Info2().dwPictAspectRatioX, type.Info2().dwPictAspectRatioY)
               : "-";
}

/// The sample's own flag: "set", "clear", or "-" when it has none.
std::string Field1Text(IMediaSample& sample) {
    const auto sample2 = As<IMediaSample2>(&sample);
    AM_SAMPLE2_PROPERTIES properties{};
    if (!sample2 ||
        FAILED(sample2->GetProperties(sizeof(properties), reinterpret_cast<BYTE*>(&properties)))) {
        return "-";
    }
    return (properties.dwTypeSpecificFlags & kVideoFlagField1First) != 0 ? "set" : "clear";
}

/// A frame in words.
struct FrameFacts {
    std::string packet;
    std::string picture;
    std::string dv;
};

/// Prints the streams as the container describes them.
void PrintStreams(const std::string& path, const Footage& clip) {
    const MediaType& type = clip.Video().type;
    const auto& head = *reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat);
    Print(path + ": " + DescribeVideo(clip) + "\n");
    Print("picture: " + FieldOrderText(type) + ", " + AspectText(type) +
          Format(", %.1f Mbit/s, packets up to %lu bytes\n", head.dwBitRate / 1e6,
                 type.Header().biSizeImage));
    for (const SourceStream& stream : clip.Audio()) {
        Print("audio: " + DescribeAudio(stream.type) + "\n");
    }
}

bool IsDv(const MediaType& type) {
    const std::string code = FourCCText(type.subtype.Data1);
    return code == "QDVC" || code == "QDV5" || code == "QDVH";
}

/// Reads the packets, without a decoder.
std::map<LONG, FrameFacts> ReadPackets(const ClipOptions& clip) {
    std::map<LONG, FrameFacts> facts;
    PlaybackGraph::Options options = clip.graph;
    options.packets = true;
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
    graph.Play("reading");
    return facts;
}

/// Decodes the frames, adds their types and flags to `facts`, and returns the decoder's name.
std::string ReadPictures(const ClipOptions& clip, std::map<LONG, FrameFacts>* facts,
                         ExitCode* code) {
    PlaybackGraph graph(clip.path, clip.graph, [facts](const ArrivedFrame& frame) {
        (*facts)[frame.index].picture =
            Format("  %-12s 0x%02lX   %-9s %-6s%s", FieldOrderText(frame.type).c_str(),
                   HasInfo2(frame.type) ? frame.type.Info2().dwInterlaceFlags : 0,
                   AspectText(frame.type).c_str(), Field1Text(frame.sample).c_str(),
                   frame.typeChanged ? "  new type" : "");
    });
    const PassResult result = graph.Play("decoding");
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
        // Without a decoder the packets are still described.
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
        "info", "Show a clip's streams and the data of its first frame, or of the frames selected");
    AddClipOptions(*command, *options);
    command->callback([options, &action] { action = [options] { return RunInfo(*options); }; });
}

}  // namespace nyx::host
