#pragma once

#include <optional>
#include <string>
#include <vector>

#include "media/libav.h"
#include "platform/win_types.h"

extern "C" {
#include <libavutil/timecode.h>
}

namespace nyx::source {

/// A stream of picture or sound, as the container describes it.
struct StreamFacts {
    int index = 0;  ///< in the file
    bool video = false;
    DWORD fourcc = 0;        ///< video: of its media type, else the container's tag
    int channels = 0;        ///< audio
    int rate = 0;            ///< audio, samples per second
    int bits = 0;            ///< audio, of a stored sample; 0 when not known
    bool supported = false;  ///< whether a pin can deliver it
    std::string name{};      ///< of that pin, once there is one, or why there is none; ASCII
};

/// The timecode of a file's first picture, with the rate at which it counts.
struct TimecodeTrack {
    AVTimecode first{};
    REFERENCE_TIME start = 0;  ///< of the first picture, from the file's start
};

/// What a container says about its footage. Text is UTF-8, empty where the container has none.
struct FootageFacts {
    std::string container;  ///< short name
    std::string reel;
    std::string clip;
    std::optional<TimecodeTrack> timecode;
    std::vector<StreamFacts> streams{};  ///< of picture and sound, in the file's order
};

/// Why no pin can deliver a stream, given the code of failures.h.
std::string StreamRefusal(const AVCodecParameters& stream, HRESULT reason);

}  // namespace nyx::source
