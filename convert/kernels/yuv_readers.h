#pragma once

/// @file
/// Source policies of the YUV-to-RGB kernels: how four pixels become lanes for multiply-adds.

#include "convert/formats.h"
#include "convert/kernels/simd.h"

namespace nyx {
namespace {

/// Four pixels, one 32-bit lane each: luma in the low word, chroma in the high one. Luma is at the
/// 10-bit scale. Chroma is the sum of two samples: the pair's own twice for the even pixel, its own
/// and its right neighbour's for the odd one.
struct YuvLanes {
    __m128i yu;
    __m128i yv;
};

/// The same samples for gains of more than 16 bits, one vector each: a lane holds the sample times
/// 16 in its low word and the sample itself in its high one.
struct WideYuvLanes {
    __m128i y;
    __m128i u;
    __m128i v;
};

/// "YUY2": 4 pixels in 8 bytes; samples are brought to the 10-bit scale here.
struct Yuy2Reader {
    static constexpr DWORD kFourCC = kYuy2;
    static constexpr std::size_t kBytesPerPixel = 2;
    static constexpr std::size_t kWindowPixels = 8;  ///< pixels that must be readable
    static constexpr int kOffsetShift = 2;           ///< from the block's 14 fractional bits to 16

    static YuvLanes Read(const BYTE* at) {
        constexpr ShuffleMask kYu = {0, 0, 1, 1, 2, 2, 1, 5, 4, 4, 5, 5, 6, 6, 5, 9};
        constexpr ShuffleMask kYv = {0, 0, 3, 3, 2, 2, 3, 7, 4, 4, 7, 7, 6, 6, 7, 11};
        const __m128i toTenBits = _mm_set1_epi32(0x04040004);
        const __m128i pixels = Load(at);
        return {_mm_maddubs_epi16(_mm_shuffle_epi8(pixels, Load(kYu)), toTenBits),
                _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, Load(kYv)), toTenBits)};
    }

    static WideYuvLanes ReadWide(const BYTE* at) {
        constexpr ShuffleMask kY = {0, 0, 0, 0, 2, 2, 2, 2, 4, 4, 4, 4, 6, 6, 6, 6};
        constexpr ShuffleMask kU = {1, 1, 1, 1, 1, 5, 1, 5, 5, 5, 5, 5, 5, 9, 5, 9};
        constexpr ShuffleMask kV = {3, 3, 3, 3, 3, 7, 3, 7, 7, 7, 7, 7, 7, 11, 7, 11};
        const __m128i lumaToTenBits = _mm_set1_epi32(0x00040040);
        const __m128i chromaToTenBits = _mm_set1_epi32(0x04044040);
        const __m128i pixels = Load(at);
        return {_mm_maddubs_epi16(_mm_shuffle_epi8(pixels, Load(kY)), lumaToTenBits),
                _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, Load(kU)), chromaToTenBits),
                _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, Load(kV)), chromaToTenBits)};
    }
};

/// "W210": 4 pixels in 16 bytes; the six bits above a sample are ignored.
struct W210Reader {
    static constexpr DWORD kFourCC = kW210;
    static constexpr std::size_t kBytesPerPixel = 4;
    static constexpr std::size_t kWindowPixels = 6;
    static constexpr int kOffsetShift = 0;

    static YuvLanes Read(const BYTE* at) {
        const Planar samples = ReadPlanar(at);
        return {_mm_unpacklo_epi16(samples.luma, samples.chroma),
                _mm_unpackhi_epi16(samples.luma, samples.chroma)};
    }

    static WideYuvLanes ReadWide(const BYTE* at) {
        const __m128i scale = _mm_set1_epi32(1 << 16 | 16);
        const Planar samples = ReadPlanar(at);
        return {_mm_mullo_epi16(_mm_unpacklo_epi16(samples.luma, samples.luma), scale),
                _mm_mullo_epi16(_mm_unpacklo_epi16(samples.chroma, samples.chroma), scale),
                _mm_mullo_epi16(_mm_unpackhi_epi16(samples.chroma, samples.chroma), scale)};
    }

  private:
    /// Four lumas, twice; four sums of U, then four of V.
    struct Planar {
        __m128i luma;
        __m128i chroma;
    };

    static Planar ReadPlanar(const BYTE* at) {
        constexpr ShuffleMask kLuma = {0, 1, 4, 5, 8, 9, 12, 13, 0, 1, 4, 5, 8, 9, 12, 13};
        constexpr ShuffleMask kUThenV = {0, 1, 2, 3, 8, 9, 10, 11, 4, 5, 6, 7, 12, 13, 14, 15};
        const __m128i sample = _mm_set1_epi16(0x3FF);
        const __m128i pixels = _mm_and_si128(Load(at), sample);
        const __m128i nextPair = _mm_and_si128(Load(at + 8), sample);
        const __m128i even = _mm_srli_epi32(pixels, 15);
        const __m128i odd = _mm_and_si128(_mm_add_epi16(pixels, nextPair),
                                          _mm_set1_epi32(static_cast<int>(0xFFFF0000)));
        return {_mm_shuffle_epi8(pixels, Load(kLuma)),
                _mm_shuffle_epi8(_mm_or_si128(even, odd), Load(kUThenV))};
    }
};

}  // namespace
}  // namespace nyx
