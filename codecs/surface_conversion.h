#pragma once

/// @file
/// Surfaces in the conversion library's terms.

#include <cstddef>

#include "codecs/pixel_format_index.h"
#include "convert/convert.h"
#include "convert/formats.h"

namespace nyx {

/// The conversion library's name of an RGB surface.
inline DWORD RgbFourCC(const SurfaceFormat& surface) {
    return surface.bytesPerPixel == 3 ? kBgr3 : kBgra;
}

/// The first `width` pixels of each row of a surface, of `bytesPerPixel` that a kernel writes.
inline ImagePlane PlaneOf(const SurfaceFormat& surface, LONG width, LONG bytesPerPixel) {
    return {surface.data, surface.stride, surface.stride - width * bytesPerPixel};
}
inline ImagePlane PlaneOf(const SurfaceFormat& surface, LONG width) {
    return PlaneOf(surface, width, surface.bytesPerPixel);
}

/// Fills a picture with black: video levels of 4:2:2 in two bytes per pixel, zeroes otherwise.
inline void FillBlack(const SurfaceFormat& surface) {
    const BYTE even = surface.bytesPerPixel == 2 ? 0x10 : 0;
    const BYTE odd = surface.bytesPerPixel == 2 ? 0x80 : 0;
    for (LONG y = 0; y < surface.height; ++y) {
        BYTE* row = surface.data + std::ptrdiff_t{y} * surface.stride;
        for (LONG i = 0; i < surface.width * surface.bytesPerPixel; ++i) {
            row[i] = i % 2 == 0 ? even : odd;
        }
    }
}

}  // namespace nyx
