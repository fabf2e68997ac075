#include "timecode.h"

#include "text.h"

namespace nyx::host {

std::string TimecodeText(const NyxTimecode& timecode) {
    return Format(timecode.dropFrame != 0 ? "%02u:%02u:%02u;%02u" : "%02u:%02u:%02u:%02u",
                  timecode.hours, timecode.minutes, timecode.seconds, timecode.frames);
}

// 30 frames per second drop two numbers a minute, 60 drop four.
LONG FramesSinceMidnight(const NyxTimecode& timecode) {
    const LONG minutes = 60L * timecode.hours + timecode.minutes;
    const LONG dropped =
        timecode.dropFrame != 0 ? timecode.framesPerSecond / 15 * (minutes - minutes / 10) : 0;
    return (60 * minutes + timecode.seconds) * timecode.framesPerSecond + timecode.frames - dropped;
}

LONG FramesPerDay(const NyxTimecode& timecode) {
    NyxTimecode midnight = timecode;
    midnight.hours = 24;
    midnight.minutes = midnight.seconds = midnight.frames = 0;
    return FramesSinceMidnight(midnight);
}

}  // namespace nyx::host
