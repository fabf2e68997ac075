#include "engines/open/picture_format.h"

#include <cstdint>
#include <cstdlib>

#include "codecs/surface_conversion.h"

namespace nyx::open {

std::optional<PixelLayout> LayoutOf(LONG code) {
    if (code == 0) {
        return PixelLayout{.bytesPerPixel = 2};
    }
    if (code < 1 || code > 8) {
        return std::nullopt;
    }
    const bool isDeep = code % 2 == 1;
    const LONG kind = (code - 1) / 2;
    return PixelLayout{.bytesPerPixel = isDeep ? 4 : 3,
                       .rgbFourCC = isDeep ? FourCC("BGRA") : FourCC("BGR3"),
                       .rgbFlags = kind % 2 == 0 ? kRgbStudioRange : kRgbFullRange,
                       .yuvFlags = kind < 2 ? kYuvBt601 : kYuvBt709};
}

bool Surface::IsValid() const {
    return data && width >= 2 && width % 2 == 0 && height >= 1 &&
           std::abs(std::int64_t{stride}) >= std::int64_t{width} * layout.bytesPerPixel;
}

std::optional<Surface> SurfaceOf(const void* data, LONG stride, LONG width, LONG height,
                                 LONG bytesPerPixel, LONG code) {
    const auto layout = LayoutOf(code);
    if (!layout || layout->bytesPerPixel != bytesPerPixel) {
        return std::nullopt;
    }
    const Surface surface = {.data = static_cast<BYTE*>(const_cast<void*>(data)),
                             .stride = stride,
                             .width = width,
                             .height = height,
                             .layout = *layout};
    return surface.IsValid() ? std::optional<Surface>(surface) : std::nullopt;
}

void FillBlack(const Surface& surface) {
    nyx::FillBlack({.bytesPerPixel = surface.layout.bytesPerPixel,
                    .data = surface.data,
                    .stride = surface.stride,
                    .width = surface.width,
                    .height = surface.height});
}

}  // namespace nyx::open
