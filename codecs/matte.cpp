#include "codecs/matte.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace nyx {
namespace {

/// A layout with alpha: a pixel of one to four little-endian words, of which the first holds alpha
/// under `alpha`. Values from `lowest` to `highest` are visible.
struct MatteRow {
    DWORD fourcc;
    std::size_t pixelBytes;
    Condition studioRange;
    DWORD alpha;
    DWORD lowest;
    DWORD highest;
    DWORD black[4];
};

constexpr DWORD kFloatNeutral = 0x3F008081;  // 128/255
constexpr DWORD kFloatInfinity = 0x7F800000;

constexpr MatteRow kRows[] = {
    // fourcc, bytes of a pixel, studio range, alpha, lowest, highest, black
    {BI_RGB, 4, Condition::kNo, 0xFF000000, 0x01000000, 0xFF000000, {0}},
    {BI_RGB, 4, Condition::kYes, 0xFF000000, 0x01000000, 0xFF000000, {0x00101010}},
    {FourCC("v408"), 4, Condition::kAny, 0xFF000000, 0x11000000, 0xFF000000, {0x10801080}},
    {FourCC("r408"), 4, Condition::kAny, 0xFF, 1, 0xFF, {0x80800000}},
    {FourCC("b64a"), 8, Condition::kAny, 0xFFFF, 1, 0xFFFF, {0, 0}},
    // Positive floats: neither negative ones, whose top bit is set, nor NaN.
    {FourCC("r4fl"),
     16,
     Condition::kAny,
     ~DWORD{0},
     1,
     kFloatInfinity,
     {0, 0, kFloatNeutral, kFloatNeutral}},
};

const MatteRow* RowOf(const PixelFormatRow& format) {
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [&](const MatteRow& r) {
        return r.fourcc == format.fourcc && r.studioRange == format.studioRange &&
               r.pixelBytes == static_cast<std::size_t>(format.bytesPerPixel);
    });
    return row == std::end(kRows) ? nullptr : row;
}

template <std::size_t kBytes>
void CleanRows(const SurfaceFormat& surface, const MatteRow layout) {
    for (LONG y = 0; y < surface.height; ++y) {
        BYTE* pixel = surface.data + std::ptrdiff_t{y} * surface.stride;
        for (LONG x = 0; x < surface.width; ++x, pixel += kBytes) {
            DWORD first;
            std::memcpy(&first, pixel, sizeof(first));
            if ((first & layout.alpha) - layout.lowest > layout.highest - layout.lowest) {
                std::memcpy(pixel, layout.black, kBytes);
            }
        }
    }
}

}  // namespace

void CleanMatte(const SurfaceFormat& surface) {
    const MatteRow* found = RowOf(kPixelFormats[static_cast<std::size_t>(surface.index)]);
    if (!found) {
        return;
    }
    switch (found->pixelBytes) {
        case 4:
            CleanRows<4>(surface, *found);
            break;
        case 8:
            CleanRows<8>(surface, *found);
            break;
        default:
            CleanRows<16>(surface, *found);
    }
}

}  // namespace nyx
