#pragma once

/// @file
/// The other side of a call: the caller's uncompressed picture and the code that names its layout.

#include <optional>

#include "platform/win_types.h"

namespace nyx::open {

/// What an output or input code means. Code 0 is "YUY2"; the RGB codes 1 to 8 count by twos through
/// standard definition in studio range and full range, then high definition in the two: odd ones
/// 32-bit, even ones 24-bit.
struct PixelLayout {
    LONG bytesPerPixel;
    DWORD rgbFourCC;  ///< conversion library's name, 0 for "YUY2"
    DWORD rgbFlags;   ///< RgbColourFlags
    DWORD yuvFlags;   ///< YuvColourFlags
};

/// Nothing for a code that has no layout here.
std::optional<PixelLayout> LayoutOf(LONG code);

/// The caller's picture: rows in processing order, `stride` negative for bottom-up.
struct Surface {
    BYTE* data;
    LONG stride;
    LONG width;
    LONG height;
    PixelLayout layout;

    BYTE* Row(LONG y) const { return data + std::ptrdiff_t{y} * stride; }

    /// Whether rows of that width fit their stride.
    bool IsValid() const;
};

/// A call's picture; nothing when its code has no layout, the pixel size is not the layout's or the
/// rows do not fit their stride.
std::optional<Surface> SurfaceOf(const void* data, LONG stride, LONG width, LONG height,
                                 LONG bytesPerPixel, LONG code);

/// Video black of "YUY2", zeroes of RGB.
void FillBlack(const Surface& surface);

}  // namespace nyx::open
