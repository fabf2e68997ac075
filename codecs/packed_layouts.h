#pragma once

/// @file
/// The packed professional layouts, a pixel pair at a time, for samples of any depth. The callbacks
/// for 8-bit blocks and for 10-bit rows use EncodePair and DecodePair; row_callbacks.h defines the
/// stored values.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "codecs/pixel_format_index.h"

namespace nyx {

/// Two pixels: both lumas, the chroma that they share, both alphas.
enum PairPlace { kY0, kY1, kCb, kCr, kA0, kA1, kPairPlaces };
template <typename Sample>
using PixelPair = std::array<Sample, kPairPlaces>;

constexpr int kBlackLuma = 16;
constexpr int kNeutralChroma = 128;

/// A layout: the order of a pair's samples. Chroma that is stored twice is read from the even
/// pixel.
struct PackedRow {
    std::size_t count;
    PairPlace order[8];
    bool floats;       ///< else bytes
    bool rebasedLuma;  ///< black at 0
    bool studioAlpha;  ///< 16 is clear, 235 opaque

    [[nodiscard]] constexpr LONG PairBytes() const {
        return static_cast<LONG>(count) * (floats ? 4 : 1);
    }
};

constexpr PackedRow kPackedRows[kPackedLayouts] = {
    // samples, their order, floats, re-based luma, studio alpha
    {4, {kCb, kY0, kCr, kY1}, false, false, false},                     // "2vuy"
    {8, {kCb, kY0, kCr, kA0, kCb, kY1, kCr, kA1}, false, false, true},  // "v408"
    {8, {kA0, kY0, kCb, kCr, kA1, kY1, kCb, kCr}, false, true, false},  // "r408"
    {8, {kA0, kY0, kCb, kCr, kA1, kY1, kCb, kCr}, true, true, false},   // "r4fl"
};
template <PackedLayout kLayout>
constexpr const PackedRow& kPackedRow = kPackedRows[static_cast<std::size_t>(kLayout)];

/// A sample as the layout stores it. For bytes it is an 8-bit code; for floats it has a fraction
/// where the source has more bits, and alpha is 0 to 1.
constexpr BYTE ToStored(const PackedRow& layout, PairPlace place, int code) {
    if (place >= kA0 && layout.studioAlpha) {
        code = (code * 219 + 127) / 255 + 16;
    } else if (place <= kY1 && layout.rebasedLuma) {
        code = std::max(code - kBlackLuma, 0);
    }
    return static_cast<BYTE>(code);
}
constexpr float ToStored(const PackedRow&, PairPlace place, float code) {
    constexpr float kUnit = 0.003921569f;  // 1/255
    if (place <= kY1) {
        return std::clamp((code - kBlackLuma) * kUnit, -0.0627451f, 0.9372549f);
    }
    return place < kA0 ? std::clamp(code * kUnit, 0.0f, 1.0f) : code;
}

/// The inverse of ToStored. Bytes give 0 to 255, floats any value, NaN included.
constexpr int FromStored(const PackedRow& layout, PairPlace place, BYTE stored) {
    if (place >= kA0 && layout.studioAlpha) {
        return (std::clamp(stored - 16, 0, 219) * 255 + 109) / 219;
    }
    return place <= kY1 && layout.rebasedLuma ? std::min(stored + kBlackLuma, 255) : stored;
}
constexpr float FromStored(const PackedRow&, PairPlace place, float stored) {
    return place >= kA0 ? stored : stored * 255 + (place <= kY1 ? kBlackLuma : 0);
}

/// A sample's distance from `zero` times alpha, rounded.
constexpr int Premultiply(int sample, int alpha, int zero) {
    return ((sample - zero) * alpha + zero * 255 + 127) / 255;
}
constexpr float Premultiply(float sample, float alpha, int zero) {
    return (sample - static_cast<float>(zero)) * alpha + static_cast<float>(zero);
}

/// The inverse of Premultiply; `zero` at alpha 0.
constexpr int Unpremultiply(int sample, int alpha, int zero) {
    return alpha == 0
               ? zero
               : std::clamp(((sample - zero) * 255 + zero * alpha + alpha / 2) / alpha, 0, 255);
}
constexpr float Unpremultiply(float sample, float alpha, int zero) {
    const auto from = static_cast<float>(zero);
    return alpha > 0 ? (sample - from) / alpha + from : from;
}

/// Samples of `kBits` bits as a layout's codes, and back: rounded where there are fewer steps,
/// widened by shifting. Alpha fills either range.
template <int kBits>
struct SampleDepth {
    static constexpr int kSteps = 1 << (kBits - 8);  // of an 8-bit code
    static constexpr int kMax = (1 << kBits) - 1;

    static void ToCode(int sample, int* code) {
        *code = std::min((sample + kSteps / 2) / kSteps, 255);
    }
    static void ToCode(int sample, float* code) { *code = static_cast<float>(sample) / kSteps; }
    static int FromCode(int code) { return code * kSteps; }
    static int FromCode(float code) { return Rounded(code * kSteps); }

    static void ToAlpha(int sample, int* alpha) { *alpha = (sample * 255 + kMax / 2) / kMax; }
    static void ToAlpha(int sample, float* alpha) { *alpha = static_cast<float>(sample) / kMax; }
    static int FromAlpha(int alpha) { return (alpha * kMax + 127) / 255; }
    static int FromAlpha(float alpha) { return Rounded(alpha * kMax); }

  private:
    /// NaN counts as 0.
    static int Rounded(float value) {
        return value > 0 ? static_cast<int>(std::min(value, float{kMax}) + 0.5f) : 0;
    }
};

/// Stores a pair whose samples have `kBits` bits; its alpha is at most 2^kBits - 1.
template <PackedLayout kLayout, int kBits>
void EncodePair(const PixelPair<int>& samples, bool premultiplied, BYTE* to) {
    constexpr PackedRow kRow = kPackedRow<kLayout>;
    using Code = std::conditional_t<kRow.floats, float, int>;
    PixelPair<Code> pair;
    SampleDepth<kBits>::ToAlpha(samples[kA0], &pair[kA0]);
    SampleDepth<kBits>::ToAlpha(samples[kA1], &pair[kA1]);
    for (std::size_t i = 0; i < kA0; ++i) {
        SampleDepth<kBits>::ToCode(samples[i], &pair[i]);
        if (premultiplied) {
            pair[i] = Premultiply(pair[i], pair[i == kY1 ? kA1 : kA0],
                                  i < kCb ? kBlackLuma : kNeutralChroma);
        }
    }
    std::conditional_t<kRow.floats, float, BYTE> stored[kRow.count];
    for (std::size_t i = 0; i < kRow.count; ++i) {
        stored[i] = ToStored(kRow, kRow.order[i], pair[kRow.order[i]]);
    }
    std::memcpy(to, stored, sizeof(stored));
}

/// Reads a pair as samples and alpha of `kBits` bits, opaque where the layout has no alpha.
template <PackedLayout kLayout, int kBits>
PixelPair<int> DecodePair(const BYTE* from, bool premultiplied) {
    constexpr PackedRow kRow = kPackedRow<kLayout>;
    std::conditional_t<kRow.floats, float, BYTE> stored[kRow.count];
    std::memcpy(stored, from, sizeof(stored));
    PixelPair<std::conditional_t<kRow.floats, float, int>> pair = {0, 0, 0, 0, 255, 255};
    for (std::size_t i = kRow.count; i-- > 0;) {
        pair[kRow.order[i]] = FromStored(kRow, kRow.order[i], stored[i]);
    }
    PixelPair<int> samples;
    for (std::size_t i = 0; i < kA0; ++i) {
        const auto code = premultiplied ? Unpremultiply(pair[i], pair[i == kY1 ? kA1 : kA0],
                                                        i < kCb ? kBlackLuma : kNeutralChroma)
                                        : pair[i];
        samples[i] = SampleDepth<kBits>::FromCode(code);
    }
    samples[kA0] = SampleDepth<kBits>::FromAlpha(pair[kA0]);
    samples[kA1] = SampleDepth<kBits>::FromAlpha(pair[kA1]);
    return samples;
}

}  // namespace nyx
