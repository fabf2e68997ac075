#include <CLI/CLI.hpp>
#include <map>
#include <nlohmann/json.hpp>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "dv_clip.h"
#include "failure.h"
#include "playback_report.h"
#include "text.h"

namespace nyx::host {
namespace {

using Json = nlohmann::ordered_json;

/// AM_SAMPLE2_PROPERTIES::dwTypeSpecificFlags of video: the sample's first field is field 1.
constexpr DWORD kVideoFlagField1First = 0x4;

struct InfoOptions {
    ClipOptions clip;
    bool json = false;
};

/// What the decoder told about one frame.
struct DecodedFrame {
    VIDEOINFOHEADER2 format{};  ///< zeroes when the type has the short form
    bool tellsFields = false;   ///< the type has the long form
    bool typeChanged = false;
    bool hasSampleFlags = false;  ///< the sample carries flags of its own
    bool field1First = false;     ///< one of them
};

using DecodedFrames = std::map<LONG, DecodedFrame>;

DecodedFrame Look(const ArrivedFrame& frame) {
    DecodedFrame found;
    found.tellsFields = frame.type.HasPicture() && frame.type.formattype == FORMAT_VideoInfo2;
    if (found.tellsFields) {
        found.format = frame.type.Info2();
    }
    found.typeChanged = frame.typeChanged;
    ComPtr<IMediaSample2> sample;
    AM_SAMPLE2_PROPERTIES properties{};
    if (SUCCEEDED(frame.sample.QueryInterface(IID_IMediaSample2,
                                              reinterpret_cast<void**>(sample.GetAddressOf()))) &&
        SUCCEEDED(
            sample->GetProperties(sizeof(properties), reinterpret_cast<BYTE*>(&properties)))) {
        found.hasSampleFlags = true;
        found.field1First = (properties.dwTypeSpecificFlags & kVideoFlagField1First) != 0;
    }
    return found;
}

const char* FieldOrderText(const DecodedFrame& frame) {
    const DWORD flags = frame.format.dwInterlaceFlags;
    if (!frame.tellsFields) {
        return "untold";
    }
    if ((flags & AMINTERLACE_IsInterlaced) == 0) {
        return "progressive";
    }
    return (flags & AMINTERLACE_Field1First) != 0 ? "top first" : "bottom first";
}

/// Everything that is known about a clip after it was played.
struct Findings {
    const ClipReader& clip;
    LONG frames;          ///< that were looked at
    std::string decoder;  ///< empty when none played the clip
    DecodedFrames decoded;
    std::map<LONG, HRESULT> faults;
    std::vector<DvFrameDescription> dv;  ///< of each frame of a DV clip, else empty
};

/// What the frames of a DV clip say of themselves, without any decoder.
std::vector<DvFrameDescription> DescribeDv(const ClipReader& clip, LONG frames) {
    std::vector<DvFrameDescription> found;
    for (LONG i = 0; IsDv(clip) && i < frames; ++i) {
        const std::vector<BYTE> frame = clip.ReadFrame(i);
        found.push_back(DescribeDvFrame(frame.data(), frame.size()));
    }
    return found;
}

/// Null for what a frame does not tell.
Json Told(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json DvToJson(const DvFrameDescription& frame) {
    Json json;
    json["recognised"] = frame.recognised;
    json["variant"] = Told(frame.variant);
    json["system"] = Told(frame.system);
    json["size"] = frame.width > 0 ? Json({frame.width, frame.height}) : Json();
    json["frame_rate"] = Told(frame.frameRate);
    json["field_order"] = Told(frame.fieldOrder);
    json["pixel_aspect"] = Told(frame.pixelAspect);
    json["picture_aspect"] = Told(frame.pictureAspect);
    json["audio"] = Told(frame.audio);
    json["timecode"] = Told(frame.timecode);
    json["recording_date"] = Told(frame.recordingDate);
    json["recording_time"] = Told(frame.recordingTime);
    return json;
}

Json FrameToJson(const Findings& findings, LONG index) {
    Json frame;
    frame["index"] = index;
    frame["bytes"] = findings.clip.FrameSize(index);
    frame["key"] = findings.clip.IsKeyFrame(index);
    const auto fault = findings.faults.find(index);
    if (fault != findings.faults.end()) {
        frame["error"] = ResultText(fault->second);
    }
    const auto entry = findings.decoded.find(index);
    if (entry != findings.decoded.end()) {
        const DecodedFrame& decoded = entry->second;
        frame["field_order"] = FieldOrderText(decoded);
        frame["interlace_flags"] = decoded.format.dwInterlaceFlags;
        frame["picture_aspect"] = {decoded.format.dwPictAspectRatioX,
                                   decoded.format.dwPictAspectRatioY};
        frame["field1_first"] = decoded.field1First;
        frame["type_changed"] = decoded.typeChanged;
    }
    if (!findings.dv.empty()) {
        frame["dv"] = DvToJson(findings.dv[static_cast<std::size_t>(index)]);
    }
    return frame;
}

void PrintJson(const std::string& path, const Findings& findings) {
    const BITMAPINFOHEADER& header = findings.clip.Header();
    Json json;
    json["file"] = path;
    json["fourcc"] = FourCCText(header.biCompression);
    if (findings.clip.FileFourCC() != 0) {
        json["file_fourcc"] = FourCCText(findings.clip.FileFourCC());
    }
    json["width"] = header.biWidth;
    json["height"] = header.biHeight;
    json["bits"] = header.biBitCount;
    json["rate"] = {findings.clip.Rate(), findings.clip.Scale()};
    json["frame_count"] = findings.clip.FrameCount();
    json["duration_seconds"] = DurationSeconds(findings.clip);
    json["decoder"] = findings.decoder.empty() ? Json() : Json(findings.decoder);
    json["frames"] = Json::array();
    for (LONG i = 0; i < findings.frames; ++i) {
        json["frames"].push_back(FrameToJson(findings, i));
    }
    Print(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

void PrintFrame(const Findings& findings, LONG index) {
    std::string line = Format("%6ld %9ld %-3s", index, findings.clip.FrameSize(index),
                              findings.clip.IsKeyFrame(index) ? "yes" : "no");
    const auto fault = findings.faults.find(index);
    const auto entry = findings.decoded.find(index);
    if (fault != findings.faults.end()) {
        line += "  could not be decoded: " + ResultText(fault->second);
    } else if (entry != findings.decoded.end()) {
        const DecodedFrame& decoded = entry->second;
        const std::string aspect =
            Format("%lu:%lu", decoded.format.dwPictAspectRatioX, decoded.format.dwPictAspectRatioY);
        line += Format("  %-12s 0x%02lX   %-9s %-6s", FieldOrderText(decoded),
                       decoded.format.dwInterlaceFlags, aspect.c_str(),
                       !decoded.hasSampleFlags ? "-"
                       : decoded.field1First   ? "set"
                                               : "clear");
        line += decoded.typeChanged ? "  new type" : "";
    }
    Print(line + "\n");
    if (!findings.dv.empty()) {
        Print("       " + DvFrameText(findings.dv[static_cast<std::size_t>(index)]) + "\n");
    }
}

void PrintTable(const std::string& path, const Findings& findings) {
    Print(path + ": " + DescribeClip(findings.clip) + "\n");
    Print("decoder: " + (findings.decoder.empty() ? "none" : findings.decoder) + "\n");
    Print(" frame     bytes key");
    Print(findings.decoder.empty() ? "\n" : "  field order  flags  aspect    field-1-first flag\n");
    for (LONG i = 0; i < findings.frames; ++i) {
        PrintFrame(findings, i);
    }
}

ExitCode RunInfo(const InfoOptions& options) {
    const std::unique_ptr<ClipReader> opened = OpenClip(options.clip.path);
    const ClipReader& clip = *opened;
    Findings findings{clip, std::min(options.clip.frames, clip.FrameCount()), {}, {}, {}, {}};
    findings.dv = DescribeDv(clip, findings.frames);
    ExitCode code = ExitCode::kOk;
    std::string problem;
    try {
        PlaybackGraph::Options graphOptions;
        graphOptions.frames = options.clip.frames;
        graphOptions.videoInfo2 = options.clip.videoInfo2;
        PlaybackGraph graph(clip, graphOptions, [&findings](const ArrivedFrame& frame) {
            findings.decoded[frame.index] = Look(frame);
        });
        findings.decoder = graph.DecoderName();
        const PassResult result = graph.Play([](LONG) {});
        for (const FrameFault& fault : result.source.faults) {
            findings.faults[fault.frame] = fault.result;
        }
        code = ReportFaults(result);
    } catch (const Failure& failure) {
        // The file itself can be described all the same.
        if (failure.Code() != ExitCode::kNoDecoder && failure.Code() != ExitCode::kRefused) {
            throw;
        }
        code = failure.Code();
        problem = failure.what();
    }
    (options.json ? PrintJson : PrintTable)(options.clip.path, findings);
    if (!problem.empty()) {
        PrintError(problem);
    }
    return code;
}

}  // namespace

void AddInfoCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command =
        app.add_subcommand("info", "Show a clip's format and what the decoder finds in each frame");
    AddClipOptions(*command, options->clip);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] { action = [options] { return RunInfo(*options); }; });
}

}  // namespace nyx::host
