#include "codecs/matte.h"

#include <emmintrin.h>

#include <cstddef>
#include <cstring>

namespace nyx {
namespace {

/// RGB 32-bit: alpha is the top byte. `black` is 0 or studio black with alpha 0.
void CleanRgb32(BYTE* row, LONG width, DWORD black) {
    const __m128i replacement = _mm_set1_epi32(static_cast<int>(black));
    LONG x = 0;
    for (; x + 4 <= width; x += 4) {
        auto* pixels = reinterpret_cast<__m128i*>(row + std::ptrdiff_t{4} * x);
        const __m128i value = _mm_loadu_si128(pixels);
        const __m128i clear = _mm_cmpeq_epi32(_mm_srli_epi32(value, 24), _mm_setzero_si128());
        _mm_storeu_si128(pixels, _mm_or_si128(_mm_andnot_si128(clear, value),
                                              _mm_and_si128(clear, replacement)));
    }
    for (; x < width; ++x) {
        BYTE* pixel = row + std::ptrdiff_t{4} * x;
        if (pixel[3] == 0) {
            std::memcpy(pixel, &black, 4);
        }
    }
}

/// The packed layouts: how a pixel is recognised as transparent, and what it becomes.
struct V408 {
    static constexpr std::size_t kBytes = 4;
    static constexpr BYTE kBlack[kBytes] = {0x80, 0x10, 0x80, 0x10};
    static bool IsTransparent(const BYTE* pixel) { return pixel[3] <= 16; }
};

struct R408 {
    static constexpr std::size_t kBytes = 4;
    static constexpr BYTE kBlack[kBytes] = {0x00, 0x00, 0x80, 0x80};
    static bool IsTransparent(const BYTE* pixel) { return pixel[0] == 0; }
};

struct B64a {
    static constexpr std::size_t kBytes = 8;
    static constexpr BYTE kBlack[kBytes] = {};
    static bool IsTransparent(const BYTE* pixel) { return pixel[0] == 0 && pixel[1] == 0; }
};

struct R4fl {
    static constexpr std::size_t kBytes = 16;
    static constexpr BYTE kBlack[kBytes] = {0,    0,    0,    0,    0,    0,    0,    0,
                                            0x81, 0x80, 0x00, 0x3F, 0x81, 0x80, 0x00, 0x3F};
    static bool IsTransparent(const BYTE* pixel) {
        float alpha;
        std::memcpy(&alpha, pixel, sizeof(alpha));
        return !(alpha > 0.0f);  // so is an alpha that is not a number
    }
};

template <typename Layout>
void CleanPacked(BYTE* row, LONG width) {
    for (LONG x = 0; x < width; ++x, row += Layout::kBytes) {
        if (Layout::IsTransparent(row)) {
            std::memcpy(row, Layout::kBlack, Layout::kBytes);
        }
    }
}

constexpr DWORD kStudioBlack = 0x00101010;

/// Indices 5 to 12 alternate between full and studio range, full first.
bool IsStudioRange(int index) {
    return (index - kIndexRgb32) % 2 != 0;
}

void CleanRow(int index, BYTE* row, LONG width) {
    if (index >= kIndexRgb32 && index < kIndexV210) {
        CleanRgb32(row, width, IsStudioRange(index) ? kStudioBlack : 0);
    } else if (index >= kIndexV408 && index < kIndexR408) {
        CleanPacked<V408>(row, width);
    } else if (index >= kIndexR408 && index < kIndexB64a) {
        CleanPacked<R408>(row, width);
    } else if (index >= kIndexB64a && index < kIndexR4fl) {
        CleanPacked<B64a>(row, width);
    } else if (index >= kIndexR4fl && index < kIndex2vuy) {
        CleanPacked<R4fl>(row, width);
    }
}

}  // namespace

void CleanMatte(const SurfaceFormat& surface) {
    for (LONG y = 0; y < surface.height; ++y) {
        CleanRow(surface.index, surface.data + std::ptrdiff_t{y} * surface.stride, surface.width);
    }
}

}  // namespace nyx
