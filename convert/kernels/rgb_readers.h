#pragma once

/// @file
/// Source policies of the RGB-to-YUV kernels: how four pixels become lanes for multiply-adds.

#include "convert/formats.h"
#include "convert/kernels/rgb_orders.h"
#include "convert/kernels/simd.h"

namespace nyx {
namespace {

/// Four pixels, two words per 32-bit lane: blue and green; red and alpha (or anything).
struct RgbLanes {
    __m128i bg;
    __m128i ra;
};

/// Byte positions of two channels of `kPixels` pixels of `kStride` bytes; each channel is taken
/// from its first `kBytes` bytes, the rest of its word is zero.
constexpr void PlaceChannel(ShuffleMask& mask, int target, int source, int bytes) {
    for (int i = 0; source >= 0 && i < bytes; ++i) {
        mask[static_cast<std::size_t>(target + i)] = static_cast<signed char>(source + i);
    }
}

constexpr ShuffleMask EmptyMask() {
    ShuffleMask mask{};
    for (signed char& byte : mask) {
        byte = kNone;
    }
    return mask;
}

/// One byte per channel; lanes hold 0 to 255.
template <DWORD kCode, class Order>
struct Rgb8Reader {
    static constexpr DWORD kFourCC = kCode;
    static constexpr std::size_t kBytesPerPixel = Order::kChannels;
    static constexpr std::size_t kWindowPixels = Order::kHasAlpha ? 4 : 6;
    static constexpr bool kHasAlpha = Order::kHasAlpha;
    static constexpr int kFractionBits = 0;  ///< of a lane, against an 8-bit code
    static constexpr int kCentre = 0;        ///< what has been taken from each word

    static RgbLanes Read(const BYTE* at) {
        constexpr ShuffleMask kBg = Places(Order::b, Order::g);
        constexpr ShuffleMask kRa = Places(Order::r, Order::a);
        const __m128i pixels = Load(at);
        return {_mm_shuffle_epi8(pixels, Load(kBg)), _mm_shuffle_epi8(pixels, Load(kRa))};
    }

    static __m128i Alpha(const RgbLanes& lanes) { return _mm_srli_epi32(lanes.ra, 16); }

  private:
    static constexpr ShuffleMask Places(int first, int second) {
        ShuffleMask mask = EmptyMask();
        for (int pixel = 0; pixel < 4; ++pixel) {
            const int start = pixel * Order::kChannels;
            PlaceChannel(mask, pixel * 4, start + first, 1);
            PlaceChannel(mask, pixel * 4 + 2, second < 0 ? kNone : start + second, 1);
        }
        return mask;
    }
};

/// Common to the deep readers: lanes hold 16-bit channels less 0x8000, so that they fit a signed
/// multiplication.
struct DeepReader {
    static constexpr int kFractionBits = 8;
    static constexpr int kCentre = 0x8000;

    static __m128i Centred(__m128i words) {
        return _mm_xor_si128(words, _mm_set1_epi16(static_cast<short>(0x8000)));
    }

    /// The upper eight bits.
    static __m128i Alpha(const RgbLanes& lanes) {
        return _mm_xor_si128(_mm_srli_epi32(lanes.ra, 24), _mm_set1_epi32(0x80));
    }

    /// From two vectors of two pixels, blues and greens in the low half, reds and alphas in the
    /// high half.
    static RgbLanes Join(__m128i first, __m128i second) {
        return {Centred(_mm_unpacklo_epi64(first, second)),
                Centred(_mm_unpackhi_epi64(first, second))};
    }
};

/// Channels are whole words.
template <DWORD kCode, class Order>
struct WordReader : DeepReader {
    static constexpr DWORD kFourCC = kCode;
    static constexpr std::size_t kBytesPerPixel = 2 * Order::kChannels;
    static constexpr std::size_t kWindowPixels = Order::kHasAlpha ? 4 : 6;
    static constexpr bool kHasAlpha = Order::kHasAlpha;

    static RgbLanes Read(const BYTE* at) {
        constexpr ShuffleMask kPlaces = Places();
        return Join(_mm_shuffle_epi8(Load(at), Load(kPlaces)),
                    _mm_shuffle_epi8(Load(at + 2 * kBytesPerPixel), Load(kPlaces)));
    }

  private:
    static constexpr ShuffleMask Places() {
        ShuffleMask mask = EmptyMask();
        for (int pixel = 0; pixel < 2; ++pixel) {
            const int start = pixel * static_cast<int>(kBytesPerPixel);
            PlaceChannel(mask, pixel * 4, start + 2 * Order::b, 2);
            PlaceChannel(mask, pixel * 4 + 2, start + 2 * Order::g, 2);
            PlaceChannel(mask, pixel * 4 + 8, start + 2 * Order::r, 2);
            PlaceChannel(mask, pixel * 4 + 10, kHasAlpha ? start + 2 * Order::a : kNone, 2);
        }
        return mask;
    }
};

/// Three tens in 32 bits, brought to 16 bits.
struct TenBitReader : DeepReader {
    static constexpr DWORD kFourCC = k30rl;
    static constexpr std::size_t kBytesPerPixel = 4;
    static constexpr std::size_t kWindowPixels = 4;
    static constexpr bool kHasAlpha = false;

    static RgbLanes Read(const BYTE* at) {
        const __m128i lowTen = _mm_set1_epi32(0xFFC0);
        const __m128i highTen = _mm_slli_epi32(lowTen, 16);
        const __m128i pixels = Load(at);
        const __m128i r = _mm_and_si128(_mm_slli_epi32(pixels, 6), lowTen);
        const __m128i g = _mm_and_si128(_mm_slli_epi32(pixels, 12), highTen);
        const __m128i b = _mm_and_si128(_mm_srli_epi32(pixels, 14), lowTen);
        return {Centred(_mm_or_si128(b, g)), Centred(r)};
    }
};

/// Four tens in 40 bits, brought to 16 bits.
template <DWORD kCode, class Order>
struct TenBitAlphaReader : DeepReader {
    static constexpr DWORD kFourCC = kCode;
    static constexpr std::size_t kBytesPerPixel = 5;
    static constexpr std::size_t kWindowPixels = 6;
    static constexpr bool kHasAlpha = true;

    static RgbLanes Read(const BYTE* at) {
        return Join(TwoPixels(at), TwoPixels(at + 2 * kBytesPerPixel));
    }

  private:
    /// Channel n starts at bit 2 n of byte n: a multiplication brings it to the top of its word.
    static __m128i TwoPixels(const BYTE* at) {
        constexpr ShuffleMask kPlaces = Places();
        constexpr auto bg = static_cast<int>(Lift(Order::b) | Lift(Order::g) << 16);
        constexpr auto ra = static_cast<int>(Lift(Order::r) | Lift(Order::a) << 16);
        const __m128i lifted = _mm_mullo_epi16(_mm_shuffle_epi8(Load(at), Load(kPlaces)),
                                               _mm_set_epi32(ra, ra, bg, bg));
        return _mm_and_si128(lifted, _mm_set1_epi16(static_cast<short>(0xFFC0)));
    }

    static constexpr unsigned Lift(int channel) { return 64u >> (2 * channel); }

    static constexpr ShuffleMask Places() {
        ShuffleMask mask = EmptyMask();
        for (int pixel = 0; pixel < 2; ++pixel) {
            const int start = pixel * static_cast<int>(kBytesPerPixel);
            PlaceChannel(mask, pixel * 4, start + Order::b, 2);
            PlaceChannel(mask, pixel * 4 + 2, start + Order::g, 2);
            PlaceChannel(mask, pixel * 4 + 8, start + Order::r, 2);
            PlaceChannel(mask, pixel * 4 + 10, start + Order::a, 2);
        }
        return mask;
    }
};

}  // namespace
}  // namespace nyx
