#pragma once

/// @file
/// Destination policies of the RGB-to-YUV kernels. They take eight pixels in two vectors of four
/// lumas, two Us and two Vs, as words about the middle of their range.

#include "convert/formats.h"
#include "convert/kernels/simd.h"

namespace nyx {
namespace {

struct Yuy2Writer {
    static constexpr DWORD kFourCC = kYuy2;
    static constexpr std::size_t kBytesPerPixel = 2;
    static constexpr int kBits = 8;

    static void Write(BYTE* at, __m128i firstFour, __m128i lastFour) {
        constexpr ShuffleMask kOrder = {0, 4, 1, 6, 2, 5, 3, 7, 8, 12, 9, 14, 10, 13, 11, 15};
        const __m128i bytes = _mm_xor_si128(_mm_packs_epi16(firstFour, lastFour),
                                            _mm_set1_epi8(static_cast<char>(0x80)));
        Store(at, _mm_shuffle_epi8(bytes, Load(kOrder)));
    }
};

struct W210Writer {
    static constexpr DWORD kFourCC = kW210;
    static constexpr std::size_t kBytesPerPixel = 4;
    static constexpr int kBits = 10;

    static void Write(BYTE* at, __m128i firstFour, __m128i lastFour) {
        Store(at, Words(firstFour));
        Store(at + 4 * kBytesPerPixel, Words(lastFour));
    }

  private:
    static __m128i Words(__m128i centred) {
        constexpr ShuffleMask kOrder = {0, 1, 8, 9, 2, 3, 12, 13, 4, 5, 10, 11, 6, 7, 14, 15};
        const __m128i clamped =
            _mm_max_epi16(_mm_min_epi16(centred, _mm_set1_epi16(511)), _mm_set1_epi16(-512));
        return _mm_shuffle_epi8(_mm_add_epi16(clamped, _mm_set1_epi16(512)), Load(kOrder));
    }
};

}  // namespace
}  // namespace nyx
