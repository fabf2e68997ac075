#include "clip_options.h"

namespace nyx::host {

void AddClipOptions(CLI::App& command, ClipOptions& options) {
    command.add_option("clip", options.path, "The AVI or raw DV file")->required();
    command.add_option("--frames", options.frames, "Only the first so many frames")
        ->check(CLI::Range(1L, LONG_MAX))
        ->type_name("N");
    command.add_flag("--videoinfo2", options.videoInfo2,
                     "Offer the clip with a VIDEOINFOHEADER2 block");
}

void AddFormatOption(CLI::App& command, std::string& name) {
    std::vector<std::string> names;
    for (const PictureFormat& format : PictureFormats()) {
        names.emplace_back(format.name);
    }
    command.add_option("--format", name, "What the decoder shall deliver")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
}

}  // namespace nyx::host
