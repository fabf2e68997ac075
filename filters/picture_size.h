#pragma once

#include <cstdint>

#include "baseclasses/streams.h"

namespace nyx {

/// Bytes of a picture in media types and buffer requests: whole bytes per pixel times height times
/// width, with the height's sign. `height` is a 32-bit value or its absolute. A product that does
/// not fit gives the largest 64-bit value.
std::int64_t SignedPictureSize(WORD bitCount, std::int64_t height, LONG width);

/// A picture aspect ratio with the signs of the frame's values; 0:0 for a pixel aspect of 0:0.
struct PictureAspect {
    std::int64_t x = 0;
    std::int64_t y = 0;
};

/// The picture aspect of `width` by `height` pixels of the given pixel aspect, divided by the
/// greatest common divisor of the absolute values. Keeps the signs: frames may carry any.
PictureAspect PictureAspectOf(LONG width, LONG height, LONG pixelAspectX, LONG pixelAspectY);

/// Asks the allocator for exactly one buffer of `size` bytes with the alignment and prefix in
/// `properties`. Returns the allocator's failure, or `E_FAIL` when it grants less or the size does
/// not fit its 32-bit field.
[[nodiscard]] HRESULT RequestOneBuffer(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties,
                                       std::int64_t size);

}  // namespace nyx
