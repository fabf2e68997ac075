#pragma once

/// @file
/// Scaling colours by alpha, or by its inverse, about black.

#include <cstdint>

#include "convert/kernels/simd.h"

namespace nyx {
namespace {

/// A factor: whole + fraction / 65536.
struct AlphaFactor {
    std::uint16_t whole;
    std::uint16_t fraction;
};

/// Fractions are rounded up, which together with the truncated product keeps every result within
/// one code of 16 bits.
constexpr AlphaFactor MakeFactor(unsigned numerator, unsigned denominator) {
    const unsigned rest = numerator % denominator;
    return {static_cast<std::uint16_t>(numerator / denominator),
            static_cast<std::uint16_t>((rest * 65536 + denominator - 1) / denominator)};
}

/// One factor per 8-bit alpha: 1, for colours that stay.
using AlphaFactors = std::array<AlphaFactor, 256>;
constexpr AlphaFactors kUnscaled = [] {
    AlphaFactors factors;
    factors.fill(MakeFactor(1, 1));
    return factors;
}();

/// alpha / 255.
constexpr AlphaFactors kPremultiply = [] {
    AlphaFactors factors{};
    for (unsigned alpha = 0; alpha < 256; ++alpha) {
        factors[alpha] = MakeFactor(alpha, 255);
    }
    return factors;
}();

/// 255 / alpha; a transparent pixel becomes black.
constexpr AlphaFactors kUnpremultiply = [] {
    AlphaFactors factors{};
    for (unsigned alpha = 1; alpha < 256; ++alpha) {
        factors[alpha] = MakeFactor(255, alpha);
    }
    return factors;
}();

/// The factors of four pixels, twice in a row to fit four words of each of two channels.
class FourFactors {
  public:
    FourFactors(const AlphaFactors& table, const BYTE* alpha) {
        constexpr ShuffleMask kWhole = {0, 1, 4, 5, 8, 9, 12, 13, 0, 1, 4, 5, 8, 9, 12, 13};
        constexpr ShuffleMask kFraction = {2, 3, 6, 7, 10, 11, 14, 15, 2, 3, 6, 7, 10, 11, 14, 15};
        AlphaFactor four[4];
        for (int i = 0; i < 4; ++i) {
            four[i] = table[alpha[i]];
        }
        const __m128i factors = Load(four);
        whole_ = _mm_shuffle_epi8(factors, Load(kWhole));
        fraction_ = _mm_shuffle_epi8(factors, Load(kFraction));
    }

    /// black + (colour - black) times the factor, saturated; colours below black count as black.
    [[nodiscard]] __m128i Scale(__m128i colours, __m128i black) const {
        const __m128i above = _mm_subs_epu16(colours, black);
        const __m128i fits = _mm_cmpeq_epi16(_mm_mulhi_epu16(above, whole_), _mm_setzero_si128());
        const __m128i whole = _mm_or_si128(_mm_mullo_epi16(above, whole_),
                                           _mm_andnot_si128(fits, _mm_set1_epi16(-1)));
        const __m128i fraction = _mm_mulhi_epu16(above, fraction_);
        return _mm_adds_epu16(_mm_adds_epu16(whole, fraction), black);
    }

  private:
    __m128i whole_;
    __m128i fraction_;
};

}  // namespace
}  // namespace nyx
