#pragma once

/// @file
/// The conversions in plain code, one pixel after the other: the definition of the kernels, with
/// coefficients of its own. For the kernels' test and the benchmark. Requests must be valid.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "convert/coefficients.h"
#include "convert/convert.h"
#include "convert/formats.h"

namespace nyx::reference {

/// "YUY2" and "W210" have samples in the order Y0, U, Y1, V, of one byte or a little-endian word
/// each. An RGB pixel is a little-endian number of adjacent channels, R, G, B and A at these
/// positions; -1 for no alpha, which reads as opaque.
struct Layout {
    DWORD fourcc;
    int bits;  ///< of a sample or channel
    LONG bytes;
    int positions[4];
};
constexpr Layout kLayouts[] = {{kYuy2, 8, 2, {}},
                               {kW210, 10, 4, {}},
                               {kBgr3, 8, 3, {2, 1, 0, -1}},
                               {kRgb3, 8, 3, {0, 1, 2, -1}},
                               {kBgra, 8, 4, {2, 1, 0, 3}},
                               {kRgba, 8, 4, {0, 1, 2, 3}},
                               {kArgb, 8, 4, {1, 2, 3, 0}},
                               {k48rl, 16, 6, {0, 1, 2, -1}},
                               {k64al, 16, 8, {0, 1, 2, 3}},
                               {kA46l, 16, 8, {1, 2, 3, 0}},
                               {kL64a, 16, 8, {2, 1, 0, 3}},
                               {k30rl, 10, 4, {0, 1, 2, -1}},
                               {k40al, 10, 5, {0, 1, 2, 3}},
                               {kA04l, 10, 5, {1, 2, 3, 0}},
                               {kL40a, 10, 5, {2, 1, 0, 3}}};

inline Layout LayoutOf(DWORD fourcc) {
    return *std::find_if(std::begin(kLayouts), std::end(kLayouts),
                         [&](const Layout& layout) { return layout.fourcc == fourcc; });
}

/// Luma weights as ITU-R BT.601, BT.709 and BT.2020 (non-constant luminance) publish them.
struct Weights {
    double kr, kg, kb;
};
constexpr Weights kWeights[] = {
    {0.299, 0.587, 0.114}, {0.2126, 0.7152, 0.0722}, {0.2627, 0.6780, 0.0593}};

inline int Fixed(double value, int fractionalBits) {
    return static_cast<int>(std::lround(std::ldexp(value, fractionalBits)));
}

/// Black and the span to white of RGB, in 8-bit codes.
struct Range {
    double black, span;
};
inline Range RangeOf(LONG range, int bits) {
    return range == kStudioRange ? Range{16, 219} : Range{0, 256 - std::ldexp(1, 8 - bits)};
}

inline BYTE* RowOf(const ImagePlane* plane, LONG rowBytes, LONG y) {
    return plane ? plane->data + (rowBytes + plane->rowGap) * y : nullptr;
}

inline int GetSample(const Layout& layout, const BYTE* row, LONG sample) {
    return layout.bits == 8 ? row[sample] : (row[2 * sample] | row[2 * sample + 1] << 8) & 1023;
}

class ToRgb {
  public:
    explicit ToRgb(const ConversionKind& kind)
        : kind_(kind), from_(LayoutOf(kind.source)), to_(LayoutOf(kind.destination)) {
        const Weights k = kWeights[kind.matrix - kMatrixBt601];
        const Range to = RangeOf(kind.range, to_.bits);
        const double red = 2 * (1 - k.kr) * to.span / 224, blue = 2 * (1 - k.kb) * to.span / 224;
        double gains[] = {to.span / 219, red, -blue * k.kb / k.kg, -red * k.kr / k.kg, blue};
        for (int i = 0; i < 5; ++i) {
            const int bits = (deep_ ? 18 : 14) - (i == 0 ? 0 : 1);
            numbers_[i] = Fixed(gains[i], bits);
            // Offsets from the stored gains keep deep greys grey to the last bit.
            gains[i] = deep_ ? std::ldexp(numbers_[i], -bits) : gains[i];
        }
        const double half = deep_ ? (to_.bits == 10 ? 0 : 1 / 512.0) : 0.5;
        const double chroma[] = {gains[1], gains[2] + gains[3], gains[4]};
        for (int c = 0; c < 3; ++c) {
            numbers_[5 + c] =
                Fixed(half + to.black - 16 * gains[0] - 128 * chroma[c], deep_ ? 20 : shift_);
            // Three of the tabulated offsets are one below the rounded result of the rule.
            const bool studio8 = kind.range == kStudioRange && shift_ == 14 && c != 1;
            const bool full10 = kind.range == kFullRange && shift_ == 16 && c == 2;
            numbers_[5 + c] -= kind.matrix == kMatrixBt601 && (studio8 || full10) ? 1 : 0;
        }
    }

    bool Has(const KernelNumbers& numbers) const {
        return std::memcmp(&numbers.toRgb, numbers_, sizeof numbers_) == 0;
    }

    void operator()(const ConversionPlanes& planes, LONG x, LONG y, LONG width) const {
        const BYTE* source = RowOf(planes.source, width * from_.bytes, y);
        const BYTE* alpha = RowOf(planes.sourceAlpha, width, y);
        // The odd pixel's chroma is the mean of its pair's and the next pair's.
        const LONG own = x / 2 * 4, other = x % 2 != 0 && x + 1 < width ? own + 4 : own;
        const auto get = [&](LONG sample) { return GetSample(from_, source, sample); };
        const int luma = get(2 * x), u = get(own + 1) + get(other + 1),
                  v = get(own + 3) + get(other + 3), a = alpha ? alpha[x] : 255;
        int c[] = {luma * numbers_[0] + v * numbers_[1],
                   luma * numbers_[0] + u * numbers_[2] + v * numbers_[3],
                   luma * numbers_[0] + u * numbers_[4], a * (deep_ ? 257 : 1)};
        c[3] = to_.bits == 10 ? c[3] >> 6 : c[3];
        // Premultiplied full-range colours do not exceed their alpha, truncated to ten bits.
        const bool held = alpha && to_.bytes == 5 && kind_.range == kFullRange &&
                          kind_.sourceAlphaMode < kind_.destinationAlphaMode;
        std::uint64_t pixel = 0;
        for (int i = 0; i < 4; ++i) {
            if (i < 3) {
                c[i] = (c[i] * (deep_ && from_.bits == 8 ? 4 : 1) + numbers_[5 + i]) >> shift_;
                c[i] = std::clamp(c[i], 0, deep_ ? 65535 : 255);
                c[i] = deep_ && alpha ? Scaled(c[i], a) : c[i];
                c[i] = to_.bits == 10 ? std::min(c[i] + 32, 65535) >> 6 : c[i];
                c[i] = held ? std::min(c[i], c[3]) : c[i];
            }
            pixel |= to_.positions[i] < 0 ? 0 : std::uint64_t(c[i]) << to_.bits * to_.positions[i];
        }
        std::memcpy(RowOf(planes.destination, width * to_.bytes, y) + x * to_.bytes, &pixel,
                    static_cast<std::size_t>(to_.bytes));
    }

  private:
    /// black + (colour - black) times the factor, which is rounded up to 16 fractional bits.
    int Scaled(int colour, int alpha) const {
        const bool premultiply = kind_.destinationAlphaMode == kPremultipliedAlpha;
        const int black = kind_.range == kStudioRange ? 16 * 256 : 0;
        if (kind_.sourceAlphaMode == kind_.destinationAlphaMode) {
            return colour;
        }
        const std::int64_t above = premultiply ? alpha : 255, below = premultiply ? 255 : alpha;
        const std::int64_t factor = below == 0 ? 0 : (above * 65536 + below - 1) / below;
        return static_cast<int>(
            std::min<std::int64_t>(black + (std::max(colour - black, 0) * factor >> 16), 65535));
    }

    const ConversionKind kind_;
    const Layout from_, to_;
    const bool deep_ = to_.bits > 8;
    const int shift_ = deep_ ? 12 : 6 + from_.bits;
    int numbers_[8];  ///< as in CoefficientBlock
};

class ToYuv {
  public:
    explicit ToYuv(const ConversionKind& kind)
        : from_(LayoutOf(kind.source)), to_(LayoutOf(kind.destination)) {
        const Weights k = kWeights[kind.matrix - kMatrixBt601];
        const Range from = RangeOf(kind.range, from_.bits);
        const double luma = 219 / from.span;
        const double u = 112 / from.span / (1 - k.kb), v = 112 / from.span / (1 - k.kr);
        const double half = std::ldexp(0.5, 8 - to_.bits);
        const double rows[3][4] = {
            {k.kb * luma, k.kg * luma, k.kr * luma, 16 - from.black * luma + half},
            {(1 - k.kb) * u, -k.kg * u, -k.kr * u, 128 + half},
            {-k.kb * v, -k.kg * v, (1 - k.kr) * v, 128 + half}};
        for (int i = 0; i < 12; ++i) {
            rows_[i / 4][i % 4] = Fixed(rows[i / 4][i % 4], i % 4 == 3 ? sumBits_ : 15);
        }
    }

    bool Has(const KernelNumbers& numbers) const {
        return std::memcmp(&numbers.toYuv, rows_, sizeof rows_) == 0;
    }

    void operator()(const ConversionPlanes& planes, LONG x, LONG y, LONG width) const {
        const BYTE* source = RowOf(planes.source, width * from_.bytes, y);
        const BYTE* alpha = RowOf(planes.sourceAlpha, width, y);
        BYTE* to = RowOf(planes.destination, width * to_.bytes, y);
        BYTE* toAlpha = RowOf(planes.destinationAlpha, width, y);
        const auto bytes = static_cast<std::size_t>(to_.bytes / 2);
        for (const LONG chroma : {0, 1}) {
            const auto c = [&, at = x - chroma * (x % 2)](int channel) {
                return std::int64_t{Channel(source, at, channel)};
            };
            const int(&row)[4] = rows_[chroma * (1 + x % 2)];
            const std::int64_t sum = row[0] * c(2) + row[1] * c(1) + row[2] * c(0);
            const std::int64_t level =
                (sum * (from_.bits == 10 ? 64 : 1) + row[3]) >> (sumBits_ + 8 - to_.bits);
            const auto sample =
                static_cast<int>(std::clamp<std::int64_t>(level, 0, (1 << to_.bits) - 1));
            std::memcpy(to + (2 * x + chroma) * to_.bytes / 2, &sample, bytes);
        }
        if (toAlpha) {
            toAlpha[x] =
                alpha ? alpha[x] : static_cast<BYTE>(Channel(source, x, 3) >> (from_.bits - 8));
        }
    }

  private:
    int Channel(const BYTE* row, LONG x, int channel) const {
        std::uint64_t pixel = 0;
        std::memcpy(&pixel, row + x * from_.bytes, static_cast<std::size_t>(from_.bytes));
        const int position = from_.positions[channel], highest = (1 << from_.bits) - 1;
        return position < 0 ? highest : static_cast<int>(pixel >> from_.bits * position) & highest;
    }

    const Layout from_, to_;
    /// Sums count in 8-bit codes with 15 fractional bits, those of deep channels with 23.
    const int sumBits_ = from_.bits == 8 ? 15 : 23;
    int rows_[3][4];  ///< as in ReverseCoefficientBlock
};

/// Converts every pixel of a picture by ToRgb or ToYuv.
template <class Conversion>
void Convert(const Conversion& convert, const ConversionPlanes& planes, LONG width, LONG height) {
    for (LONG at = 0; at < width * height; ++at) {
        convert(planes, at % width, at / width, width);
    }
}

}  // namespace nyx::reference
