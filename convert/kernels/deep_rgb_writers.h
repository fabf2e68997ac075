#pragma once

/// @file
/// Destination policies of the deep layouts. They take four pixels as 16-bit channels.

#include <type_traits>

#include "convert/kernels/rgb_layouts.h"
#include "convert/kernels/simd.h"

namespace nyx {
namespace {

/// Four pixels of unsigned 16-bit channels: four reds, then four greens; four blues, then four
/// alphas.
struct DeepPixels {
    __m128i rg;
    __m128i ba;
};

/// The words of two pixels, R, G, B, A each, put into a layout's order; channels that the layout
/// lacks fall off, and the pixels follow each other without a gap.
template <class Order>
constexpr ShuffleMask WordOrder() {
    ShuffleMask mask = EmptyMask();
    const int positions[4] = {Order::r, Order::g, Order::b, Order::a};
    for (int word = 0; word < 8; ++word) {
        const int position = positions[word % 4];
        if (position >= 0) {
            PlaceBytes(mask, 2 * (word / 4 * Order::kChannels + position), 2 * word, 2);
        }
    }
    return mask;
}

/// Two pixels per vector, channels in the layout's order.
struct PixelPairs {
    __m128i first;
    __m128i second;
};

template <class Order>
PixelPairs Interleave(const DeepPixels& in) {
    constexpr ShuffleMask kOrder = WordOrder<Order>();
    const __m128i rb = _mm_unpacklo_epi16(in.rg, in.ba);
    const __m128i ga = _mm_unpackhi_epi16(in.rg, in.ba);
    if constexpr (std::is_same_v<Order, OrderRgba>) {
        return {_mm_unpacklo_epi16(rb, ga), _mm_unpackhi_epi16(rb, ga)};
    }
    return {_mm_shuffle_epi8(_mm_unpacklo_epi16(rb, ga), Load(kOrder)),
            _mm_shuffle_epi8(_mm_unpackhi_epi16(rb, ga), Load(kOrder))};
}

/// Channels are whole words.
template <class Layout>
struct WordWriter : Layout {
    static constexpr bool kTenBitsOfAlpha = false;

    static void Write(BYTE* at, const DeepPixels& pixels) {
        const PixelPairs pairs = Interleave<typename Layout::Order>(pixels);
        Store(at, pairs.first);
        Store(at + 2 * Layout::kBytesPerPixel, pairs.second);
    }
};

/// The upper ten bits of each word: rounded for colours; cut for alpha, which repeats its byte and
/// so stays within one code of the byte's share.
inline DeepPixels ToTenBits(const DeepPixels& in) {
    const __m128i half = _mm_set1_epi16(32);
    return {_mm_srli_epi16(_mm_adds_epu16(in.rg, half), 6),
            _mm_srli_epi16(_mm_adds_epu16(in.ba, _mm_move_epi64(half)), 6)};
}

/// Joins neighbouring ten-bit words into twenty bits.
inline __m128i JoinTens(__m128i words) {
    return _mm_madd_epi16(words, _mm_set1_epi32(1 << 26 | 1));
}

/// Three tens in 32 bits.
struct TenBitWriter : Layout30rl {
    static constexpr bool kTenBitsOfAlpha = false;

    static void Write(BYTE* at, const DeepPixels& pixels) {
        const DeepPixels tens = ToTenBits(pixels);
        const __m128i rg = JoinTens(_mm_unpacklo_epi16(tens.rg, _mm_srli_si128(tens.rg, 8)));
        const __m128i b = _mm_unpacklo_epi16(tens.ba, _mm_setzero_si128());
        Store(at, _mm_or_si128(rg, _mm_slli_epi32(b, 20)));
    }
};

/// Four tens in 40 bits.
template <class Layout>
struct TenBitAlphaWriter : Layout {
    static constexpr bool kTenBitsOfAlpha = true;

    static void Write(BYTE* at, const DeepPixels& pixels) {
        const PixelPairs pairs = Interleave<typename Layout::Order>(ToTenBits(pixels));
        Store(at, Pack(pairs.first));
        Store(at + 2 * Layout::kBytesPerPixel, Pack(pairs.second));
    }

  private:
    /// Two pixels of 40 bits from the low bytes on.
    static __m128i Pack(__m128i tens) {
        constexpr ShuffleMask kFiveAndFive = {0,  1,  2,     3,     4,     8,     9,     10,
                                              11, 12, kNone, kNone, kNone, kNone, kNone, kNone};
        const __m128i twenties = JoinTens(tens);
        const __m128i low = _mm_and_si128(twenties, _mm_set_epi32(0, -1, 0, -1));
        const __m128i high =
            _mm_andnot_si128(_mm_set_epi32(0, 0xFFFFF, 0, 0xFFFFF), _mm_srli_epi64(twenties, 12));
        return _mm_shuffle_epi8(_mm_or_si128(low, high), Load(kFiveAndFive));
    }
};

}  // namespace
}  // namespace nyx
