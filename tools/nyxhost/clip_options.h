#pragma once

#include <CLI/CLI.hpp>

#include <climits>
#include <string>

#include "picture_format.h"

namespace nyx::host {

/// What every command that plays a clip can be told.
struct ClipOptions {
    std::string path;
    long frames = LONG_MAX;
    bool videoInfo2 = false;
};

/// Adds the clip's name, --frames and --videoinfo2 to `command`.
void AddClipOptions(CLI::App& command, ClipOptions& options);

/// Adds --format, which takes the name of a picture format, to `command`. `name` holds the default.
void AddFormatOption(CLI::App& command, std::string& name);

}  // namespace nyx::host
