#include "clip_options.h"

#include <cmath>
#include <cstdlib>

namespace nyx::host {
namespace {

/// "75f" is a frame's number; "2.5" is a time in seconds, "1:02:03.5" has minutes and hours.
Place ReadPlace(const std::string& text) {
    constexpr double kLatest = 1e9;  // seconds
    const char* at = text.c_str();
    char* end = nullptr;
    double value = 0;
    for (int parts = 0; parts < 3; ++parts, at = end + 1) {
        const double part =
            std::isdigit(static_cast<unsigned char>(*at)) ? std::strtod(at, &end) : kLatest;
        value = value * 60 + part;
        if (!(value < kLatest) || *end != ':') {
            break;
        }
    }
    if (value < kLatest && *end == '\0') {
        return {.time = std::llround(value * 1e7)};
    }
    if (value < kLatest && text == std::to_string(std::lround(value)) + "f") {
        return {.frame = std::lround(value)};
    }
    throw CLI::ValidationError("--from", "neither a time nor a frame number: " + text);
}

}  // namespace

void AddRangeOptions(CLI::App& command, ClipGraph::Options& options) {
    command
        .add_option_function<std::string>(
            "--from", [&options](const std::string& text) { options.from = ReadPlace(text); },
            "Start at a time, such as 2.5 or 1:02:03.5, or at a frame, such as 75f")
        ->type_name("TIME");
    command.add_option("--frames", options.frames, "Number of frames (default: all)")
        ->check(CLI::Range(1L, LONG_MAX))
        ->type_name("N");
}

CLI::Option* AddClipOptions(CLI::App& command, ClipOptions& options) {
    AddRangeOptions(command, options.graph);
    return command
        .add_option("clip", options.path, "A file of footage: AVI, MOV, MXF, GXF, DV or MPEG-2")
        ->required();
}

void AddFormatOption(CLI::App& command, ClipOptions& options, const char* preset) {
    std::vector<std::string> names;
    for (const PictureFormat& format : kPictureFormats) {
        names.emplace_back(format.name);
    }
    options.graph.format = FindPictureFormat(preset);
    command
        .add_option_function<std::string>(
            "--format",
            [&options](const std::string& name) { options.graph.format = FindPictureFormat(name); },
            "Format that the decoder delivers")
        ->check(CLI::IsMember(names))
        ->default_str(preset);
}

}  // namespace nyx::host
