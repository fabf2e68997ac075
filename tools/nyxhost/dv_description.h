#pragma once

/// @file
/// A DV frame in words.

#include <cstddef>
#include <string>

#include "platform/win_types.h"

namespace nyx::host {

/// Texts are empty where the frame does not tell.
struct DvFrameDescription {
    bool recognised = false;    ///< whether a decoder would take the frame
    std::string variant;        ///< "DV25", "DVCPRO HD 720p"
    std::string system;         ///< "525/60" or "625/50"
    LONG width = 0;             ///< recorded pixels per line, 0 when unknown
    LONG height = 0;            ///< lines of a frame, 0 when unknown
    std::string frameRate;      ///< "30000/1001", "25"
    std::string fieldOrder;     ///< "top field first", "bottom field first", "progressive"
    std::string pixelAspect;    ///< "648:720"
    std::string pictureAspect;  ///< "4:3" or "16:9"
    std::string audio;          ///< "2 channels, 48000 Hz, 16 bits, 1600 samples, unlocked"
    std::string timecode;       ///< "01:02:03:04"; a semicolon before drop-frame frames
    std::string recordingDate;  ///< "2004-05-06"
    std::string recordingTime;  ///< "07:08:09"
};

/// Parses the `size` bytes at `frame` (any size, null allowed) and describes them. May throw
/// std::bad_alloc.
DvFrameDescription DescribeDvFrame(const void* frame, std::size_t size);

}  // namespace nyx::host
