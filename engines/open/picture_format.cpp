#include "engines/open/picture_format.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "convert/convert.h"

namespace nyx::open {

std::optional<PixelLayout> LayoutOf(LONG code) {
    if (code == 0) {
        return PixelLayout{2, 0, 0, 0};
    }
    if (code < 1 || code > 8) {
        return std::nullopt;
    }
    const bool isDeep = code % 2 == 1;
    const LONG kind = (code - 1) / 2;
    return PixelLayout{isDeep ? 4 : 3, isDeep ? FourCC("BGRA") : FourCC("BGR3"),
                       kind % 2 == 0 ? kRgbStudioRange : kRgbFullRange,
                       kind < 2 ? kYuvBt601 : kYuvBt709};
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
    const Surface surface = {static_cast<BYTE*>(const_cast<void*>(data)), stride, width, height,
                             *layout};
    return surface.IsValid() ? std::optional<Surface>(surface) : std::nullopt;
}

void FillBlack(const Surface& surface) {
    const auto rowBytes = static_cast<std::size_t>(surface.width * surface.layout.bytesPerPixel);
    for (LONG y = 0; y < surface.height; ++y) {
        BYTE* row = surface.Row(y);
        if (surface.layout.rgbFourCC != 0) {
            std::memset(row, 0, rowBytes);
            continue;
        }
        for (std::size_t i = 0; i < rowBytes; i += 2) {
            row[i] = 0x10;
            row[i + 1] = 0x80;
        }
    }
}

}  // namespace nyx::open
