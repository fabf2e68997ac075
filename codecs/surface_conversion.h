#pragma once

/// @file
/// Surfaces as the conversion library names and walks them.

#include "codecs/pixel_format_index.h"
#include "convert/convert.h"
#include "platform/fourcc.h"

namespace nyx {

/// The conversion library's name of an RGB surface.
inline DWORD RgbFourCC(const SurfaceFormat& surface) {
    return surface.bytesPerPixel == 3 ? FourCC("BGR3") : FourCC("BGRA");
}

/// `width` pixels of each row of a surface, of which a kernel writes `bytesPerPixel` each.
inline ImagePlane PlaneOf(const SurfaceFormat& surface, LONG width, LONG bytesPerPixel) {
    return {surface.data, surface.stride, surface.stride - width * bytesPerPixel};
}
inline ImagePlane PlaneOf(const SurfaceFormat& surface, LONG width) {
    return PlaneOf(surface, width, surface.bytesPerPixel);
}

}  // namespace nyx
