#pragma once

/// @file
/// Destination policies of the RGB-to-YUV kernels. They take four lumas, two Us and two Vs as words
/// about the middle of their range.

#include "convert/formats.h"
#include "convert/kernels/simd.h"

namespace nyx {
namespace {

struct Yuy2Writer {
    static constexpr DWORD kFourCC = kYuy2;
    static constexpr std::size_t kBytesPerPixel = 2;
    static constexpr int kBits = 8;

    static void Write(BYTE* at, __m128i centred) {
        constexpr ShuffleMask kOrder = {0,     4,     1,     6,     2,     5,     3,     7,
                                        kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone};
        const __m128i bytes = _mm_xor_si128(_mm_packs_epi16(centred, centred),
                                            _mm_set1_epi8(static_cast<char>(0x80)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(at), _mm_shuffle_epi8(bytes, Load(kOrder)));
    }
};

struct W210Writer {
    static constexpr DWORD kFourCC = kW210;
    static constexpr std::size_t kBytesPerPixel = 4;
    static constexpr int kBits = 10;

    static void Write(BYTE* at, __m128i centred) {
        constexpr ShuffleMask kOrder = {0, 1, 8, 9, 2, 3, 12, 13, 4, 5, 10, 11, 6, 7, 14, 15};
        const __m128i clamped =
            _mm_max_epi16(_mm_min_epi16(centred, _mm_set1_epi16(511)), _mm_set1_epi16(-512));
        const __m128i words = _mm_add_epi16(clamped, _mm_set1_epi16(512));
        Store(at, _mm_shuffle_epi8(words, Load(kOrder)));
    }
};

}  // namespace
}  // namespace nyx
