#pragma once

#include <string>

#include "platform/footage_info.h"

namespace nyx::host {

/// "01:02:03:04"; a semicolon before the frames marks dropped numbers.
std::string TimecodeText(const NyxTimecode& timecode);

/// How many frames a timecode is after 00:00:00:00. `framesPerSecond` is not 0.
LONG FramesSinceMidnight(const NyxTimecode& timecode);

/// How many frames of its counting a day has.
LONG FramesPerDay(const NyxTimecode& timecode);

}  // namespace nyx::host
