#include "tests/support/q210_frames.h"

#include <cstddef>

namespace nyx::test {
namespace {

constexpr LONG kBlockPixels = 48;
constexpr LONG kBlockBytes = 128;
constexpr LONG kGroupPixels = 6;
constexpr LONG kGroupBytes = 16;
constexpr DWORD kUnusedBits = 0xC0000000;

void StoreWord(BYTE* at, unsigned low, unsigned middle, unsigned high) {
    const DWORD word = kUnusedBits | high << 20 | middle << 10 | low;
    for (int i = 0; i < 4; ++i) {
        at[i] = static_cast<BYTE>(word >> (8 * i));
    }
}

/// Six pixels in four words, as the v210 layout orders their samples.
void StoreGroup(BYTE* at, const TenBitPixel (&p)[kGroupPixels]) {
    StoreWord(at, p[0].cb, p[0].y, p[0].cr);
    StoreWord(at + 4, p[1].y, p[2].cb, p[2].y);
    StoreWord(at + 8, p[2].cr, p[3].y, p[4].cb);
    StoreWord(at + 12, p[4].y, p[4].cr, p[5].y);
}

}  // namespace

LONG Q210RowBytes(LONG width) {
    return (width + kBlockPixels - 1) / kBlockPixels * kBlockBytes;
}

std::vector<BYTE> Q210Frame(LONG width, LONG height,
                            const std::function<TenBitPixel(LONG x, LONG y)>& pixel) {
    const LONG rowBytes = Q210RowBytes(width);
    std::vector<BYTE> frame(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height),
                            0xFF);
    for (LONG y = 0; y < height; ++y) {
        BYTE* at = frame.data() + y * rowBytes;
        for (LONG x = 0; x < width; x += kGroupPixels, at += kGroupBytes) {
            TenBitPixel group[kGroupPixels];
            for (LONG i = 0; i < kGroupPixels; ++i) {
                group[i] = x + i < width ? pixel(x + i, y) : TenBitPixel{1023, 1023, 1023};
            }
            StoreGroup(at, group);
        }
    }
    return frame;
}

std::vector<BYTE> FlatQ210Frame(LONG width, LONG height, TenBitPixel pixel) {
    const auto row = Q210Frame(width, 1, [pixel](LONG, LONG) { return pixel; });
    std::vector<BYTE> frame;
    frame.reserve(row.size() * static_cast<std::size_t>(height));
    for (LONG y = 0; y < height; ++y) {
        frame.insert(frame.end(), row.begin(), row.end());
    }
    return frame;
}

}  // namespace nyx::test
