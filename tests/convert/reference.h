#pragma once

/// @file
/// The conversions written as plainly as they can be, one pixel after the other: the definition of
/// the kernels, with coefficients of its own. Requests are taken as valid.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <tuple>

#include "convert/coefficients.h"
#include "convert/convert.h"
#include "convert/formats.h"

namespace nyx::reference {

/// R, G, B and A of one pixel, each in its layout's own codes.
using Channels = std::array<int, 4>;

/// A pixel is a little-endian number in which channels of `kChannelBits` lie side by side, R, G, B
/// and A in these positions; -1 for no alpha, which reads as opaque.
template <DWORD kCode, int kChannelBits, std::size_t kPixelBytes, int... kPositions>
struct Rgb {
    static constexpr DWORD kFourCC = kCode;
    static constexpr int kBits = kChannelBits;
    static constexpr std::size_t kBytes = kPixelBytes;

    static void Write(BYTE* at, const Channels& c) {
        std::uint64_t number = 0;
        const auto put = [&number](int value, int position) {
            number |= position < 0 ? 0 : static_cast<std::uint64_t>(value) << kBits * position;
        };
        const int* channel = c.data();
        (put(*channel++, kPositions), ...);
        std::memcpy(at, &number, kBytes);
    }
    static Channels Read(const BYTE* at) {
        std::uint64_t number = 0;
        std::memcpy(&number, at, kBytes);
        const auto get = [number](int position) {
            const std::uint64_t highest = (1 << kBits) - 1;
            return static_cast<int>(position < 0 ? highest : number >> kBits * position & highest);
        };
        return {get(kPositions)...};
    }
};

/// Samples of a row in memory order Y0, U, Y1, V, of one byte or a little-endian word each.
template <DWORD kCode, int kSampleBits>
struct Yuv {
    static constexpr DWORD kFourCC = kCode;
    static constexpr int kBits = kSampleBits;
    static constexpr std::size_t kBytes = kBits == 8 ? 2 : 4;

    static int Get(const BYTE* row, std::size_t sample) {
        return kBits == 8 ? row[sample] : (row[2 * sample] | row[2 * sample + 1] << 8) & 1023;
    }
    static void Put(BYTE* row, std::size_t sample, int value) {
        std::memcpy(row + sample * kBytes / 2, &value, kBytes / 2);
    }
};

using RgbLayouts = std::tuple<
    Rgb<kBgr3, 8, 3, 2, 1, 0, -1>, Rgb<kRgb3, 8, 3, 0, 1, 2, -1>, Rgb<kBgra, 8, 4, 2, 1, 0, 3>,
    Rgb<kRgba, 8, 4, 0, 1, 2, 3>, Rgb<kArgb, 8, 4, 1, 2, 3, 0>, Rgb<k48rl, 16, 6, 0, 1, 2, -1>,
    Rgb<k64al, 16, 8, 0, 1, 2, 3>, Rgb<kA46l, 16, 8, 1, 2, 3, 0>, Rgb<kL64a, 16, 8, 2, 1, 0, 3>,
    Rgb<k30rl, 10, 4, 0, 1, 2, -1>, Rgb<k40al, 10, 5, 0, 1, 2, 3>, Rgb<kA04l, 10, 5, 1, 2, 3, 0>,
    Rgb<kL40a, 10, 5, 2, 1, 0, 3>>;
using YuvLayouts = std::tuple<Yuv<kYuy2, 8>, Yuv<kW210, 10>>;

/// Calls `use` with the layout of a FourCC.
template <class Layouts, class Use>
void WithLayout(DWORD fourcc, Use use) {
    std::apply([&](auto... all) { ((fourcc == all.kFourCC ? use(all) : void()), ...); }, Layouts{});
}

/// Luma weights as ITU-R BT.601, BT.709 and BT.2020 (non-constant luminance) publish them.
struct Weights {
    double kr, kg, kb;
};
inline Weights WeightsOf(LONG matrix) {
    return matrix == kMatrixBt601   ? Weights{0.299, 0.587, 0.114}
           : matrix == kMatrixBt709 ? Weights{0.2126, 0.7152, 0.0722}
                                    : Weights{0.2627, 0.6780, 0.0593};
}

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

template <class Source, class Destination>
class ToRgb {
  public:
    static constexpr LONG kFromBytes = Source::kBytes, kToBytes = Destination::kBytes;

    explicit ToRgb(const ConversionKind& kind) : kind_(kind) {
        const Weights k = WeightsOf(kind.matrix);
        const Range to = RangeOf(kind.range, Destination::kBits);
        const double red = 2 * (1 - k.kr) * to.span / 224, blue = 2 * (1 - k.kb) * to.span / 224;
        double gains[] = {to.span / 219, red, -blue * k.kb / k.kg, -red * k.kr / k.kg, blue};
        for (int i = 0; i < 5; ++i) {
            const int bits = (kDeep ? 18 : 14) - (i == 0 ? 0 : 1);
            numbers_[i] = Fixed(gains[i], bits);
            // Deep greys come out grey to the last bit when the stored gains make the offsets.
            gains[i] = kDeep ? std::ldexp(numbers_[i], -bits) : gains[i];
        }
        const double half = kDeep ? (Destination::kBits == 10 ? 0 : 1 / 512.0) : 0.5;
        const double chroma[] = {gains[1], gains[2] + gains[3], gains[4]};
        for (int c = 0; c < 3; ++c) {
            numbers_[5 + c] =
                Fixed(half + to.black - 16 * gains[0] - 128 * chroma[c], kDeep ? 20 : kShift);
            // Three of the tabulated offsets stand one below what the rule rounds to.
            const bool studio8 = kind.range == kStudioRange && kShift == 14 && c != 1;
            const bool full10 = kind.range == kFullRange && kShift == 16 && c == 2;
            numbers_[5 + c] -= kind.matrix == kMatrixBt601 && (studio8 || full10) ? 1 : 0;
        }
    }

    bool Has(const KernelNumbers& numbers) const {
        return std::memcmp(&numbers.toRgb, numbers_, sizeof numbers_) == 0;
    }

    void operator()(const BYTE* source, const BYTE* alpha, BYTE* to, BYTE*, std::size_t x,
                    std::size_t width) const {
        // The odd pixel's chroma is the mean of its pair's and the next pair's.
        const std::size_t own = 2 * (x & ~std::size_t{1});
        const std::size_t other = x % 2 != 0 && x + 1 < width ? own + 4 : own;
        const int y = Source::Get(source, 2 * x);
        const int u = Source::Get(source, own + 1) + Source::Get(source, other + 1);
        const int v = Source::Get(source, own + 3) + Source::Get(source, other + 3);
        const int a = alpha ? alpha[x] : 255;
        Channels c = {y * numbers_[0] + v * numbers_[1],
                      y * numbers_[0] + u * numbers_[2] + v * numbers_[3],
                      y * numbers_[0] + u * numbers_[4], a * (kDeep ? 257 : 1)};
        for (std::size_t i = 0; i < 3; ++i) {
            c[i] = std::clamp((c[i] * kScale + numbers_[5 + i]) >> kShift, 0, kDeep ? 65535 : 255);
            c[i] = kDeep && alpha ? Scaled(c[i], a) : c[i];
            c[i] = Destination::kBits == 10 ? std::min(c[i] + 32, 65535) >> 6 : c[i];
        }
        c[3] = Destination::kBits == 10 ? c[3] >> 6 : c[3];
        for (std::size_t i = 0; i < 3 && alpha && HoldsColoursToAlpha(); ++i) {
            c[i] = std::min(c[i], c[3]);
        }
        Destination::Write(to + x * Destination::kBytes, c);
    }

  private:
    static constexpr bool kDeep = Destination::kBits > 8;
    static constexpr int kShift = kDeep ? 12 : Source::kBits == 8 ? 14 : 16;
    static constexpr int kScale = kDeep && Source::kBits == 8 ? 4 : 1;

    /// Premultiplied full-range colours do not pass their alpha, which is cut to ten bits.
    bool HoldsColoursToAlpha() const {
        return Destination::kBytes == 5 && kind_.range == kFullRange &&
               kind_.sourceAlphaMode == kStraightAlpha &&
               kind_.destinationAlphaMode == kPremultipliedAlpha;
    }

    /// black + (colour - black) times the factor, which is rounded up to 16 fractional bits.
    int Scaled(int colour, int alpha) const {
        const bool premultiply = kind_.destinationAlphaMode == kPremultipliedAlpha;
        const int black = kind_.range == kStudioRange ? 16 * 256 : 0;
        if (kind_.sourceAlphaMode == kind_.destinationAlphaMode || (!premultiply && alpha == 0)) {
            return kind_.sourceAlphaMode == kind_.destinationAlphaMode ? colour : black;
        }
        const std::int64_t numerator = (premultiply ? alpha : 255) * 65536;
        const std::int64_t denominator = premultiply ? 255 : alpha;
        const std::int64_t factor = (numerator + denominator - 1) / denominator;
        return static_cast<int>(
            std::min<std::int64_t>(black + (std::max(colour - black, 0) * factor >> 16), 65535));
    }

    const ConversionKind& kind_;
    int numbers_[8];  ///< as in CoefficientBlock
};

template <class Source, class Destination>
class ToYuv {
  public:
    static constexpr LONG kFromBytes = Source::kBytes, kToBytes = Destination::kBytes;

    explicit ToYuv(const ConversionKind& kind) {
        const Weights k = WeightsOf(kind.matrix);
        const Range from = RangeOf(kind.range, Source::kBits);
        const double luma = 219 / from.span;
        const double u = 112 / from.span / (1 - k.kb), v = 112 / from.span / (1 - k.kr);
        const double half = std::ldexp(0.5, 8 - Destination::kBits);
        const double rows[3][4] = {
            {k.kb * luma, k.kg * luma, k.kr * luma, 16 - from.black * luma + half},
            {(1 - k.kb) * u, -k.kg * u, -k.kr * u, 128 + half},
            {-k.kb * v, -k.kg * v, (1 - k.kr) * v, 128 + half}};
        for (int i = 0; i < 12; ++i) {
            rows_[i / 4][i % 4] = Fixed(rows[i / 4][i % 4], i % 4 == 3 ? kSumBits : 15);
        }
    }

    bool Has(const KernelNumbers& numbers) const {
        return std::memcmp(&numbers.toYuv, rows_, sizeof rows_) == 0;
    }

    void operator()(const BYTE* source, const BYTE* alpha, BYTE* to, BYTE* toAlpha, std::size_t x,
                    std::size_t) const {
        const Channels c = Source::Read(source + x * Source::kBytes);
        const Channels even = Source::Read(source + (x & ~std::size_t{1}) * Source::kBytes);
        Destination::Put(to, 2 * x, Sample(rows_[0], c));
        Destination::Put(to, 2 * x + 1, Sample(rows_[x % 2 == 0 ? 1 : 2], even));
        if (toAlpha) {
            toAlpha[x] = alpha ? alpha[x] : static_cast<BYTE>(c[3] >> (Source::kBits - 8));
        }
    }

  private:
    /// Sums count in 8-bit codes with 15 fractional bits, those of deep channels with 23.
    static constexpr int kSumBits = Source::kBits == 8 ? 15 : 23;

    static int Sample(const int (&row)[4], const Channels& c) {
        const std::int64_t sum =
            std::int64_t{row[0]} * c[2] + std::int64_t{row[1]} * c[1] + std::int64_t{row[2]} * c[0];
        const std::int64_t scaled = sum * (Source::kBits == 10 ? 64 : 1) + row[3];
        return static_cast<int>(std::clamp<std::int64_t>(
            scaled >> (kSumBits + 8 - Destination::kBits), 0, (1 << Destination::kBits) - 1));
    }

    int rows_[3][4];  ///< as in ReverseCoefficientBlock
};

/// Calls `use` with the conversion.
template <class Use>
void WithConversion(const ConversionKind& kind, Use use) {
    const auto with = [&](DWORD yuvCode, DWORD rgbCode, auto make) {
        WithLayout<YuvLayouts>(yuvCode, [&](auto yuv) {
            WithLayout<RgbLayouts>(rgbCode, [&](auto rgb) { use(make(yuv, rgb)); });
        });
    };
    with(kind.source, kind.destination,
         [&](auto yuv, auto rgb) { return ToRgb<decltype(yuv), decltype(rgb)>(kind); });
    with(kind.destination, kind.source,
         [&](auto yuv, auto rgb) { return ToYuv<decltype(rgb), decltype(yuv)>(kind); });
}

}  // namespace nyx::reference
