#include <CLI/CLI.hpp>

#include <climits>
#include <map>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "dv_description.h"
#include "info_document.h"
#include "tape_summary.h"
#include "text.h"

namespace nyx::host {
namespace {

struct InfoOptions {
    ClipOptions clip;
    bool json = false;
    bool summary = false;
};

/// Prints the file and its streams as the container describes them.
void PrintStreams(const Footage& clip, const Json& document) {
    const Json& video = document["video"];
    Print(TextOf(document["file"]) + ": " + DescribeVideo(clip) + "\n");
    Print("picture: " + TextOf(video["scan"]["container"], "unspecified") + ", " +
          TextOf(video["aspect"]["container"], "-") +
          Format(", %.1f Mbit/s, packets up to %lu bytes\n",
                 video["bits_per_second"].get<double>() / 1e6,
                 video["max_packet_bytes"].get<DWORD>()));
    for (const SourceStream& stream : clip.Audio()) {
        Print("audio: " + DescribeAudio(stream.type) + "\n");
    }
    for (const char* key : {"container", "reel", "clip"}) {
        const std::string text = TextOf(document[key]);
        Print(text.empty() ? "" : key + (": " + text) + "\n");
    }
    if (const Json& timecode = document["timecode"]; !timecode.is_null()) {
        Print("timecode: " + TextOf(timecode["start"]) + ", from the " + TextOf(timecode["says"]) +
              "\n");
    }
}

void PrintFrames(const Json& document) {
    const std::string decoder = TextOf(document["decoder"]);
    Print("decoder: " + (decoder.empty() ? "none" : decoder) + "\n frame     bytes key");
    Print(decoder.empty() ? "\n" : "  field order  flags  aspect    field-1-first flag\n");
    for (const Json& frame : document["frames"]) {
        Print(Format("%6ld %9ld %-3s", frame["number"].get<long>(), frame["bytes"].get<long>(),
                     frame["key"].get<bool>() ? "yes" : "no"));
        if (const Json picture = MemberOf(frame, "picture"); !picture.is_null()) {
            const Json& flag = picture["field_1_first"];
            Print(Format(
                "  %-12s 0x%02lX   %-9s %-6s%s", TextOf(picture["scan"], "unspecified").c_str(),
                picture["interlace_flags"].get<DWORD>(), TextOf(picture["aspect"], "-").c_str(),
                flag.is_null() ? "-" : (flag.get<bool>() ? "set" : "clear"),
                picture["new_type"].get<bool>() ? "  new type" : ""));
        }
        const std::string error = TextOf(MemberOf(frame, "error"));
        Print(error.empty() ? "\n" : "  could not be decoded: " + error + "\n");
        if (frame.contains("dv")) {
            Print("       " + DescribeDvFrame(frame["dv"]) + "\n");
        }
    }
}

void PrintSummary(const Json& document) {
    for (const Json& stream : document["audio"]) {
        Print("audio peaks in dB: " + stream["peak_dbfs"].dump() + "\n");
    }
    const Json& summary = document["summary"];
    Print(" frame  event\n");
    for (const Json& event : summary["events"]) {
        std::string text =
            TextOf(MemberOf(event, "before")) + " -> " + TextOf(MemberOf(event, "after"));
        if (!event.contains("after")) {
            text = "frames: " + event["frames"].dump();
            text += event.contains("damaged_blocks") ? ", blocks: " + event["damaged_blocks"].dump()
                                                     : "";
        }
        Print(Format("%6ld  %-10s ", event["frame"].get<long>(), TextOf(event["event"]).c_str()) +
              text + "\n");
    }
    Print("frames of DV: " + summary["dv_frames"].dump() +
          ", damaged: " + summary["damaged_frames"].dump() +
          "; damaged blocks: " + summary["damaged_blocks"].dump() + "\n");
}

using Frames = std::map<LONG, Json>;

/// The frame's entry, also when no packet of it has been read.
Json& EntryOf(Frames* frames, LONG number) {
    const auto [entry, added] = frames->try_emplace(number);
    if (added) {
        entry->second = {{"number", number}, {"bytes", 0}, {"key", false}};
    }
    return entry->second;
}

/// Decodes the frames, adds their pictures to `frames` and the decoder to `document`.
ExitCode ReadPictures(const ClipOptions& clip, Frames* frames, Json* document) {
    try {
        ClipGraph graph(clip.path, clip.graph, [frames](const ArrivedFrame& frame) {
            EntryOf(frames, frame.index)["picture"] = DescribePicture(frame);
        });
        const PassResult result = graph.Play("decoding");
        for (const LostFrame& frame : result.lost) {
            EntryOf(frames, frame.index)["error"] = ResultText(frame.result);
        }
        document->update({{"decoder", graph.DecoderName()}, {"problem", nullptr}});
        return ReportLostFrames(result, "decoded");
    } catch (const Failure& failure) {
        // Without a decoder the packets are still described.
        if (failure.Code() != ExitCode::kNoDecoder && failure.Code() != ExitCode::kRefused &&
            failure.Code() != ExitCode::kNoEngine) {
            throw;
        }
        document->update({{"decoder", nullptr}, {"problem", failure.what()}});
        return failure.Code();
    }
}

ExitCode RunInfo(const InfoOptions& given) {
    InfoOptions options = given;
    if (options.clip.graph.frames == 0) {
        options.clip.graph.frames = options.summary ? LONG_MAX : 1;
    }
    Frames frames;
    TapeSummary summary;
    ClipGraph::Options packets = options.clip.graph;
    packets.packets = true;
    ClipGraph graph(options.clip.path, packets, [&](const ArrivedFrame& frame) {
        Json packet = DescribePacket(frame);
        if (options.summary && packet.contains("dv")) {
            summary.Add(frame.index, packet["dv"]);
        }
        if (!options.summary || frames.empty()) {
            frames[frame.index] = std::move(packet);
        }
    });
    std::vector<std::vector<double>> peaks(graph.Clip().Audio().size());
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        const SourceStream& stream = graph.Clip().Audio()[i];
        graph.AddAudioSink(stream, [&stream, &peak = peaks[i]](IMediaSample& sample) {
            MeasurePeaks(stream.type, sample, &peak);
        });
    }
    graph.Play("reading");
    Json document = DescribeClip(options.clip.path, graph.Clip());
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        document["audio"][i]["peak_dbfs"] = DescribePeaks(peaks[i]);
    }
    ExitCode code = ExitCode::kOk;
    if (options.summary) {
        document["summary"] = summary.Document();
    } else {
        code = ReadPictures(options.clip, &frames, &document);
        Json& all = document["frames"] = Json::array();
        for (const auto& [number, frame] : frames) {
            all.push_back(frame);
        }
    }
    StateScanAndAspect(&document["video"], frames.empty() ? Json() : frames.begin()->second);
    if (options.json) {
        Print(document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    } else {
        PrintStreams(graph.Clip(), document);
        options.summary ? PrintSummary(document) : PrintFrames(document);
    }
    if (const std::string problem = TextOf(MemberOf(document, "problem")); !problem.empty()) {
        PrintError(problem);
    }
    return code;
}

}  // namespace

void AddInfoCommand(CLI::App& app, Action& action) {
    const auto [command, options] = AddCommand(
        app, action, "info",
        "Show a clip's streams and the data of its first frame, or of the frames selected",
        RunInfo);
    options.clip.graph.frames = 0;  // unless --frames is given
    AddClipOptions(command, options.clip);
    command.add_flag("--json", options.json, "One JSON document, see docs/info-schema.json");
    command.add_flag("--summary", options.summary,
                     "Show what changes in a DV recording, instead of its frames: timecode and "
                     "recording time, picture, audio, damaged blocks");
}

}  // namespace nyx::host
