#pragma once

#include "exit_codes.h"
#include "playback_graph.h"

namespace nyx::host {

/// "720x486, 20 bits, 29.970 frames per second, ..." of the clip's stream.
std::string DescribeClip(const ClipReader& clip);

/// The clip's rate and length.
double FramesPerSecond(const ClipReader& clip);
double DurationSeconds(const ClipReader& clip);

/// Warns of frames that the codec refused or withheld and gives the exit code that follows:
/// kDecode when there are any, else kOk. `verb` is what could not be done to them.
ExitCode ReportFaults(const PassResult& result, const char* verb = "decoded");

}  // namespace nyx::host
