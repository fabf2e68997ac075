#pragma once

/// @file
/// The DV signals as a table: what a flag word names, how large its frames and pictures are, and
/// the marks by which a frame tells its signal.

#include <cstddef>

#include "media/libav.h"
#include "platform/win_types.h"

namespace nyx::open {

struct DvSignal {
    LONG variant;  ///< variant and system bits of a flag word
    int width;
    int height;
    std::size_t frameBytes;
    AVPixelFormat planes;
    AVRational frameDuration;  ///< seconds
    BYTE signalType;           ///< STYPE, in the video source pack
    BYTE applicationId;        ///< APT, in the header block
};

/// The row of a flag word; null for one that names no signal. Decoding and encoding name 720-line
/// material differently; either name is taken.
const DvSignal* FindSignal(LONG flags);

/// Brings the marks that the decoder reads (first header block, first VAUX block) in line with the
/// signal: the caller may have found them elsewhere in the frame, where the standards allow them.
void MarkFrame(const DvSignal& signal, BYTE* frame);

/// Writes the application ID into every header and subcode block of a frame.
void SetApplicationId(const DvSignal& signal, BYTE* frame);

}  // namespace nyx::open
