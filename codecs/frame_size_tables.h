#pragma once

#include "codecs/codec.h"

namespace nyx {

/// A pixel aspect ratio as a fraction.
struct PixelAspect {
    LONG x;
    LONG y;
};

/// The field order of a stream that does not state one: the size's usual order when the average
/// frame duration (100 ns units) is exactly that of 29.97 or 25 frames per second, else
/// progressive.
LONG DefaultFieldOrder(LONG width, LONG height, REFERENCE_TIME averageFrameDuration);

/// The pixel aspect usual for a frame of this size, 1:1 for sizes that are not listed.
PixelAspect DefaultPixelAspect(LONG width, LONG height);

/// Whether the size is one of production, broadcast or computer video: those that Zeta codes.
bool IsUsualSize(std::int64_t width, std::int64_t height);

}  // namespace nyx
