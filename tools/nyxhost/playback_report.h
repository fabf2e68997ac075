#pragma once

#include "clip_graph.h"
#include "exit_codes.h"

namespace nyx::host {

/// Prints "75 frames in 1.20 s: 62.5 frames per second `with`, 16.00 ms per frame".
void PrintSpeed(const PassResult& result, const char* with);

/// Warns of frames that the codec refused or dropped. Returns kDecode when there are any, else kOk.
/// `verb` completes "frame 1 could not be ...".
ExitCode ReportLostFrames(const PassResult& result, const char* verb);

}  // namespace nyx::host
