#pragma once

/// @file
/// The caller's uncompressed picture and the code that names its layout.

#include <optional>

#include "platform/win_types.h"

namespace nyx::open {

/// The meaning of an output or input code. Code 0 is "YUY2"; of the RGB codes 1 to 8 the odd ones
/// are 32-bit, the even ones 24-bit: two each for standard definition in studio and full range,
/// then for high definition in both.
struct PixelLayout {
    LONG bytesPerPixel = 0;
    DWORD rgbFourCC = 0;  ///< conversion library's name, 0 for "YUY2"
    DWORD rgbFlags = 0;   ///< RgbColourFlags
    DWORD yuvFlags = 0;   ///< YuvColourFlags
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
