#pragma once

/// @file
/// Source policies of the RGB-to-YUV kernels: how four pixels become lanes for multiply-adds.

#include "convert/kernels/rgb_layouts.h"
#include "convert/kernels/simd.h"

namespace nyx {
namespace {

/// Four pixels, two words per 32-bit lane: the first two channels in the layout's own order; the
/// third, and the fourth or zero.
struct RgbLanes {
    __m128i first;
    __m128i second;
};

/// One byte per channel; lanes hold 0 to 255.
template <class Layout>
struct ByteReader : Layout {
    using Order = typename Layout::Order;
    static constexpr int kFractionBits = 0;  ///< of a lane, against an 8-bit code
    static constexpr int kCentre = 0;        ///< subtracted from each word

    static RgbLanes Read(const BYTE* at) {
        constexpr ShuffleMask kFirst = Places(0);
        constexpr ShuffleMask kSecond = Places(2);
        const __m128i pixels = Load(at);
        return {_mm_shuffle_epi8(pixels, Load(kFirst)), _mm_shuffle_epi8(pixels, Load(kSecond))};
    }

  private:
    static constexpr ShuffleMask Places(int channel) {
        ShuffleMask mask = EmptyMask();
        for (int pixel = 0; pixel < 4; ++pixel) {
            const int start = pixel * Order::kChannels + channel;
            PlaceBytes(mask, pixel * 4, start, 1);
            PlaceBytes(mask, pixel * 4 + 2, start + 1, channel + 1 < Order::kChannels ? 1 : 0);
        }
        return mask;
    }
};

/// Common to the deep readers: lanes hold 16-bit channels less 0x8000, so that they fit a signed
/// multiplication.
template <class Layout>
struct DeepReader : Layout {
    static constexpr int kFractionBits = 8;
    static constexpr int kCentre = 0x8000;

    static __m128i Centred(__m128i words) {
        return _mm_xor_si128(words, _mm_set1_epi16(static_cast<short>(0x8000)));
    }

    /// From two vectors of two pixels: four words a pixel, in the layout's order.
    static RgbLanes Join(__m128i firstTwo, __m128i lastTwo) {
        const __m128 a = _mm_castsi128_ps(Centred(firstTwo));
        const __m128 b = _mm_castsi128_ps(Centred(lastTwo));
        return {_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)))};
    }
};

/// Channels are whole words.
template <class Layout>
struct WordReader : DeepReader<Layout> {
    static RgbLanes Read(const BYTE* at) {
        return WordReader::Join(TwoPixels(at), TwoPixels(at + 2 * Layout::kBytesPerPixel));
    }

  private:
    static __m128i TwoPixels(const BYTE* at) {
        if constexpr (Layout::Order::kHasAlpha) {
            return Load(at);
        } else {
            constexpr ShuffleMask kSpread = {0, 1, 2, 3, 4,  5,  kNone, kNone,
                                             6, 7, 8, 9, 10, 11, kNone, kNone};
            return _mm_shuffle_epi8(Load(at), Load(kSpread));
        }
    }
};

/// Three tens in 32 bits, brought to 16 bits.
struct TenBitReader : DeepReader<Layout30rl> {
    static RgbLanes Read(const BYTE* at) {
        const __m128i lowTen = _mm_set1_epi32(0xFFC0);
        const __m128i highTen = _mm_slli_epi32(lowTen, 16);
        const __m128i pixels = Load(at);
        const __m128i r = _mm_and_si128(_mm_slli_epi32(pixels, 6), lowTen);
        const __m128i g = _mm_and_si128(_mm_slli_epi32(pixels, 12), highTen);
        const __m128i b = _mm_and_si128(_mm_srli_epi32(pixels, 14), lowTen);
        return {Centred(_mm_or_si128(r, g)), Centred(b)};
    }
};

/// Four tens in 40 bits, brought to 16 bits.
template <class Layout>
struct TenBitAlphaReader : DeepReader<Layout> {
    static RgbLanes Read(const BYTE* at) {
        return TenBitAlphaReader::Join(TwoPixels(at), TwoPixels(at + 2 * Layout::kBytesPerPixel));
    }

  private:
    /// Channel n starts at bit 2 n of byte n: a multiplication brings it to the top of its word.
    static __m128i TwoPixels(const BYTE* at) {
        constexpr ShuffleMask kWords = {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9};
        const __m128i lift = _mm_set_epi16(1, 4, 16, 64, 1, 4, 16, 64);
        const __m128i lifted = _mm_mullo_epi16(_mm_shuffle_epi8(Load(at), Load(kWords)), lift);
        return _mm_and_si128(lifted, _mm_set1_epi16(static_cast<short>(0xFFC0)));
    }
};

}  // namespace
}  // namespace nyx
