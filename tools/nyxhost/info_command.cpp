#include <CLI/CLI.hpp>

#include <climits>

#include "clip_facts.h"
#include "commands.h"
#include "console.h"
#include "info_json.h"
#include "text.h"
#include "timecode.h"

namespace nyx::host {
namespace {

struct InfoOptions {
    ClipOptions clip;
    bool json = false;
    bool summary = false;
};

/// For a table: "unspecified" and "-" for unknown values.
std::string OrderText(const PictureFacts& picture) {
    return picture.fieldOrder == -1 ? "unspecified" : FieldOrderName(picture.fieldOrder);
}
std::string AspectText(const PictureFacts& picture) {
    return picture.aspect.empty() ? "-" : picture.aspect;
}

/// Prints the file and its streams as the container describes them.
void PrintStreams(const ClipFacts& facts) {
    const auto& head = *reinterpret_cast<const VIDEOINFOHEADER*>(facts.video.pbFormat);
    const PictureFacts picture = PictureFactsOf(facts.video);
    const ContainerFacts& container = facts.container;
    Print(facts.path + ": " + facts.description + "\n");
    const std::pair<const char*, const std::string&> names[] = {
        {"container", container.container}, {"reel", container.reel}, {"clip", container.clip}};
    for (const auto& [name, text] : names) {
        Print(text.empty() ? "" : name + (": " + text) + "\n");
    }
    if (container.start) {
        Print("timecode: " + TimecodeText(*container.start) +
              (container.startFromFrame ? ", from the first frame\n" : ", from the container\n"));
    }
    Print("picture: " + OrderText(picture) + ", " + AspectText(picture) +
          Format(", %.1f Mbit/s, packets up to %lu bytes\n", head.dwBitRate / 1e6,
                 facts.video.Header().biSizeImage));
    for (const AudioFacts& stream : facts.audio) {
        Print("audio: " + DescribeAudio(stream.type) + "\n");
    }
}

std::string PictureText(const FrameFacts& frame) {
    if (frame.refused) {
        return "  could not be decoded: " + ResultText(*frame.refused);
    }
    if (!frame.picture) {
        return {};
    }
    const PictureFacts& picture = *frame.picture;
    const char* flag = !picture.field1First ? "-" : *picture.field1First ? "set" : "clear";
    return Format("  %-12s 0x%02lX   %-9s %-6s%s", OrderText(picture).c_str(), picture.flags,
                  AspectText(picture).c_str(), flag, picture.newType ? "  new type" : "");
}

void PrintFrames(const ClipFacts& facts) {
    const bool decoded = !facts.decoder.empty();
    Print("decoder: " + (decoded ? facts.decoder : "none") + "\n frame     bytes key");
    Print(decoded ? "  field order  flags  aspect    field-1-first flag\n" : "\n");
    for (const auto& [index, frame] : facts.frames) {
        Print(Format("%6ld %9ld %-3s", index, long{frame.bytes}, frame.isKey ? "yes" : "no") +
              PictureText(frame) + "\n");
        if (frame.dv) {
            Print("       " + DescribeDvFrame(*frame.dv) + "\n");
        }
    }
}

void PrintSummary(const ClipFacts& facts, const TapeSummary& summary) {
    for (const AudioFacts& stream : facts.audio) {
        std::string peaks;
        for (const double peak : stream.peaks) {
            peaks += Format(" %.2f", peak);
        }
        Print("audio peaks in dB:" + peaks + "\n");
    }
    Print(summary.Events().empty() ? "" : " frame  event\n");
    for (const TapeEvent& event : summary.Events()) {
        std::string text = event.before + (event.after.empty() ? "" : " -> ") + event.after;
        if (event.after.empty()) {
            text = Format(event.frames == 1 ? "%ld frame" : "%ld frames", event.frames) +
                   (event.blocks > 0 ? Format(", %zu blocks", event.blocks) : "");
        }
        Print(Format("%6ld  %-10s ", event.frame, event.kind) + text + "\n");
    }
    Print(Format("%ld frames of DV, %zu events, %zu damaged blocks in %ld frames\n",
                 summary.Frames(), summary.Events().size(), summary.DamagedBlocks(),
                 summary.DamagedFrames()));
}

ExitCode RunSummary(const InfoOptions& options) {
    TapeSummary summary;
    std::map<LONG, FrameFacts> first;
    ClipFacts facts = ReadClip(options.clip, [&](LONG index, const FrameFacts& frame) {
        if (frame.dv) {
            summary.Add(index, *frame.dv);
        }
        if (first.empty()) {
            first[index] = frame;
        }
    });
    facts.frames = std::move(first);
    if (options.json) {
        Print(InfoJson(facts, &summary));
    } else {
        PrintStreams(facts);
        PrintSummary(facts, summary);
    }
    return ExitCode::kOk;
}

ExitCode RunInfo(const InfoOptions& options) {
    if (options.summary) {
        return RunSummary(options);
    }
    std::map<LONG, FrameFacts> frames;
    ClipFacts facts = ReadClip(options.clip, [&frames](LONG index, FrameFacts frame) {
        frames[index] = std::move(frame);
    });
    facts.frames = std::move(frames);
    const ExitCode code = ReadPictures(options.clip, &facts);
    if (options.json) {
        Print(InfoJson(facts, nullptr));
    } else {
        PrintStreams(facts);
        PrintFrames(facts);
    }
    if (!facts.problem.empty()) {
        PrintError(facts.problem);
    }
    return code;
}

}  // namespace

void AddInfoCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = app.add_subcommand(
        "info", "Show a clip's streams and the data of its first frame, or of the frames selected");
    AddClipOptions(*command, options->clip);
    command->add_flag("--json", options->json, "One JSON document, see docs/info-schema.json");
    command->add_flag("--summary", options->summary,
                      "Show what changes in a DV recording, instead of its frames: timecode and "
                      "recording time, picture, audio, damaged blocks");
    command->callback([options, command, &action] {
        if (!options->summary && command->count("--frames") == 0) {
            options->clip.graph.frames = 1;
        }
        action = [options] { return RunInfo(*options); };
    });
}

}  // namespace nyx::host
