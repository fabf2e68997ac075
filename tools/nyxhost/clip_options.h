#pragma once

#include <CLI/CLI.hpp>

#include <string>

#include "clip_graph.h"

namespace nyx::host {

/// The options of every command that plays a clip.
struct ClipOptions {
    std::string path;
    ClipGraph::Options graph;
};

/// Adds --from and --frames to `command`.
void AddRangeOptions(CLI::App& command, ClipGraph::Options& options);

/// Adds the clip's name, --from and --frames to `command`. Returns the option of the name.
CLI::Option* AddClipOptions(CLI::App& command, ClipOptions& options);

/// Adds --format, the name of a picture format, to `command`; `preset` is its default.
void AddFormatOption(CLI::App& command, ClipOptions& options, const char* preset);

}  // namespace nyx::host
