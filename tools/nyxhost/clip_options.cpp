#include "clip_options.h"

#include <cmath>
#include <cstdlib>

namespace nyx::host {
namespace {

/// "75f" by its number, else a time: "2.5" in seconds, "1:02:03.5" with minutes and hours.
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
        return {0, std::llround(value * 1e7)};
    }
    if (value < kLatest && text == std::to_string(std::lround(value)) + "f") {
        return {std::lround(value), -1};
    }
    throw CLI::ValidationError("--from", "neither a time nor a frame: " + text);
}

}  // namespace

void AddClipOptions(CLI::App& command, ClipOptions& options) {
    command.add_option("clip", options.path, "A file of footage: AVI, MOV, MXF, GXF, DV or MPEG-2")
        ->required();
    command
        .add_option_function<std::string>(
            "--from", [&options](const std::string& text) { options.graph.from = ReadPlace(text); },
            "Begin at a time, such as 2.5 or 1:02:03.5, or at frame 75f")
        ->type_name("TIME");
    command.add_option("--frames", options.graph.frames, "Only so many frames")
        ->check(CLI::Range(1L, LONG_MAX))
        ->type_name("N");
}

void AddFormatOption(CLI::App& command, ClipOptions& options, const char* preset) {
    std::vector<std::string> names;
    for (const PictureFormat& format : PictureFormats()) {
        names.emplace_back(format.name);
    }
    options.graph.format = FindPictureFormat(preset);
    command
        .add_option_function<std::string>(
            "--format",
            [&options](const std::string& name) { options.graph.format = FindPictureFormat(name); },
            "What the decoder shall deliver")
        ->check(CLI::IsMember(names))
        ->default_str(preset);
}

}  // namespace nyx::host
