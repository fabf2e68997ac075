#include "tests/convert/reference.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "convert/coefficients.h"
#include "convert/formats.h"

namespace nyx::reference {
namespace {

/// One pixel's channels, each in its layout's own codes.
struct Channels {
    int r, g, b, a;
};

/// A pixel is a little-endian number in which channels of `kChannelBits` lie side by side, R, G, B
/// and A in these positions; -1 for no alpha.
template <DWORD kCode, int kChannelBits, std::size_t kPixelBytes, int kR, int kG, int kB, int kA>
struct Rgb {
    static constexpr DWORD kFourCC = kCode;
    static constexpr int kBits = kChannelBits;
    static constexpr std::size_t kBytes = kPixelBytes;

    static void Write(BYTE* at, const Channels& c) {
        const std::uint64_t number =
            Put(c.r, kR) | Put(c.g, kG) | Put(c.b, kB) | (kA < 0 ? 0 : Put(c.a, kA));
        std::memcpy(at, &number, kBytes);
    }
    static Channels Read(const BYTE* at) {
        std::uint64_t number = 0;
        std::memcpy(&number, at, kBytes);
        const auto get = [&](int position) {
            return position < 0 ? kHighest
                                : static_cast<int>(number >> kBits * position) & kHighest;
        };
        return {get(kR), get(kG), get(kB), get(kA)};
    }

  private:
    static constexpr int kHighest = (1 << kBits) - 1;

    static std::uint64_t Put(int value, int position) {
        return static_cast<std::uint64_t>(value) << kBits * std::max(position, 0);
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

/// Calls `use` with the layout of a FourCC.
template <class... Layouts, class Use>
void WithOneOf(DWORD fourcc, Use use) {
    ((fourcc == Layouts::kFourCC ? use(Layouts{}) : void()), ...);
}
template <class Use>
void WithRgb(DWORD fourcc, Use use) {
    WithOneOf<
        Rgb<kBgr3, 8, 3, 2, 1, 0, -1>, Rgb<kRgb3, 8, 3, 0, 1, 2, -1>, Rgb<kBgra, 8, 4, 2, 1, 0, 3>,
        Rgb<kRgba, 8, 4, 0, 1, 2, 3>, Rgb<kArgb, 8, 4, 1, 2, 3, 0>, Rgb<k48rl, 16, 6, 0, 1, 2, -1>,
        Rgb<k64al, 16, 8, 0, 1, 2, 3>, Rgb<kA46l, 16, 8, 1, 2, 3, 0>, Rgb<kL64a, 16, 8, 2, 1, 0, 3>,
        Rgb<k30rl, 10, 4, 0, 1, 2, -1>, Rgb<k40al, 10, 5, 0, 1, 2, 3>,
        Rgb<kA04l, 10, 5, 1, 2, 3, 0>, Rgb<kL40a, 10, 5, 2, 1, 0, 3>>(fourcc, use);
}
template <class Use>
void WithYuv(DWORD fourcc, Use use) {
    WithOneOf<Yuv<kYuy2, 8>, Yuv<kW210, 10>>(fourcc, use);
}

int Fixed(double value, int fractionalBits) {
    return static_cast<int>(std::lround(std::ldexp(value, fractionalBits)));
}

/// Black and the span to white of RGB, in 8-bit codes.
struct Range {
    double black, span;
};
Range RangeOf(LONG range, int bits) {
    return range == kStudioRange ? Range{16, 219} : Range{0, 256 - std::ldexp(1, 8 - bits)};
}

/// Gains and offsets of the three sums of the direction to RGB.
struct ToRgb {
    int luma, vToR, uToG, vToG, uToB, offsets[3];
};

ToRgb ToRgbNumbers(const ConversionKind& kind, int yuvBits, int rgbBits) {
    const Weights k = WeightsOf(kind.matrix);
    const Range to = RangeOf(kind.range, rgbBits);
    const bool deep = rgbBits > 8;
    const int bits = deep ? 18 : 14;
    double luma = to.span / 219;
    double vToR = 2 * (1 - k.kr) * to.span / 224;
    double uToB = 2 * (1 - k.kb) * to.span / 224;
    double uToG = -uToB * k.kb / k.kg;
    double vToG = -vToR * k.kr / k.kg;
    ToRgb n = {Fixed(luma, bits),     Fixed(vToR, bits - 1), Fixed(uToG, bits - 1),
               Fixed(vToG, bits - 1), Fixed(uToB, bits - 1), {}};
    if (deep) {  // greys come out grey to the last bit when the stored gains make the offsets
        luma = std::ldexp(n.luma, -bits);
        vToR = std::ldexp(n.vToR, 1 - bits);
        uToB = std::ldexp(n.uToB, 1 - bits);
        uToG = std::ldexp(n.uToG, 1 - bits);
        vToG = std::ldexp(n.vToG, 1 - bits);
    }
    const double half = rgbBits == 8 ? 0.5 : rgbBits == 10 ? 0 : 1 / 512.0;
    const double chroma[] = {vToR, uToG + vToG, uToB};
    for (int c = 0; c < 3; ++c) {
        n.offsets[c] = Fixed(half + to.black - 16 * luma - 128 * chroma[c], deep           ? 20
                                                                            : yuvBits == 8 ? 14
                                                                                           : 16);
        // Three of the tabulated offsets stand one below what the rule rounds to.
        const bool studio8 = kind.range == kStudioRange && yuvBits == 8 && c != 1;
        const bool full10 = kind.range == kFullRange && yuvBits == 10 && c == 2;
        n.offsets[c] -= !deep && kind.matrix == kMatrixBt601 && (studio8 || full10) ? 1 : 0;
    }
    return n;
}

/// black + (colour - black) numerator / denominator, the factor rounded up to 16 fractional bits.
int ScaleAboutBlack(int colour, int black, int numerator, int denominator) {
    if (denominator == 0) {
        return black;
    }
    const std::int64_t factor = (std::int64_t{numerator} * 65536 + denominator - 1) / denominator;
    const std::int64_t scaled = black + (std::max(colour - black, 0) * factor >> 16);
    return static_cast<int>(std::min<std::int64_t>(scaled, 65535));
}

template <class Source, class Destination>
struct RowToRgb {
    const ConversionKind& kind;
    ToRgb n = ToRgbNumbers(kind, Source::kBits, Destination::kBits);

    void operator()(const BYTE* source, const BYTE* alpha, BYTE* to, BYTE*, std::size_t width) {
        for (std::size_t x = 0; x < width; ++x) {
            // The odd pixel's chroma is the mean of its pair's and the next pair's.
            const std::size_t own = 2 * (x & ~std::size_t{1});
            const std::size_t other = x % 2 != 0 && x + 1 < width ? own + 4 : own;
            Pixel(Source::Get(source, 2 * x),
                  Source::Get(source, own + 1) + Source::Get(source, other + 1),
                  Source::Get(source, own + 3) + Source::Get(source, other + 3),
                  alpha ? alpha + x : nullptr, to + x * Destination::kBytes);
        }
    }

  private:
    static constexpr bool kDeep = Destination::kBits > 8;
    static constexpr int kShift = kDeep ? 12 : Source::kBits == 8 ? 14 : 16;
    static constexpr int kScale = kDeep && Source::kBits == 8 ? 4 : 1;

    void Pixel(int y, int cu, int cv, const BYTE* alpha, BYTE* at) const {
        Channels c = {Channel(y * n.luma + cv * n.vToR, 0, alpha),
                      Channel(y * n.luma + cu * n.uToG + cv * n.vToG, 1, alpha),
                      Channel(y * n.luma + cu * n.uToB, 2, alpha),
                      (alpha ? *alpha : 255) * (kDeep ? 257 : 1)};
        if (Destination::kBits == 10) {
            const auto ten = [](int word) { return std::min(word + 32, 65535) >> 6; };
            c = {ten(c.r), ten(c.g), ten(c.b), c.a >> 6};
        }
        Destination::Write(at, c);
    }
    int Channel(int sum, int index, const BYTE* alpha) const {
        const int highest = kDeep ? 65535 : 255;
        const int code = std::clamp((sum * kScale + n.offsets[index]) >> kShift, 0, highest);
        if (!kDeep || !alpha || kind.sourceAlphaMode == kind.destinationAlphaMode) {
            return code;
        }
        const bool premultiply = kind.destinationAlphaMode == kPremultipliedAlpha;
        return ScaleAboutBlack(code, kind.range == kStudioRange ? 16 * 256 : 0,
                               premultiply ? *alpha : 255, premultiply ? 255 : *alpha);
    }
};

template <class Source, class Destination>
struct RowToYuv {
    explicit RowToYuv(const ConversionKind& kind) {
        const Weights k = WeightsOf(kind.matrix);
        const Range from = RangeOf(kind.range, Source::kBits);
        const double luma = 219 / from.span;
        const double u = 112 / from.span / (1 - k.kb);
        const double v = 112 / from.span / (1 - k.kr);
        const double half = std::ldexp(0.5, 8 - Destination::kBits);
        Set(rows[0], k.kb * luma, k.kg * luma, k.kr * luma, 16 - from.black * luma + half);
        Set(rows[1], (1 - k.kb) * u, -k.kg * u, -k.kr * u, 128 + half);
        Set(rows[2], -k.kb * v, -k.kg * v, (1 - k.kr) * v, 128 + half);
    }

    void operator()(const BYTE* source, const BYTE* alpha, BYTE* to, BYTE* toAlpha,
                    std::size_t width) const {
        Channels even{};
        for (std::size_t x = 0; x < width; ++x) {
            const Channels c = Source::Read(source + x * Source::kBytes);
            even = x % 2 == 0 ? c : even;
            Destination::Put(to, 2 * x, Sample(rows[0], c));
            Destination::Put(to, 2 * x + 1, Sample(rows[x % 2 == 0 ? 1 : 2], even));
            if (toAlpha) {
                const int own = c.a >> (Source::kBits - 8);
                toAlpha[x] = alpha ? alpha[x] : static_cast<BYTE>(own);
            }
        }
    }

  private:
    /// Sums count in 8-bit codes with 15 fractional bits, those of deep channels with 23.
    static constexpr int kSumBits = Source::kBits == 8 ? 15 : 23;
    using Number = std::conditional_t<Source::kBits == 8, std::int32_t, std::int64_t>;
    struct Row {
        int b, g, r, offset;
    };
    Row rows[3];

    static void Set(Row& row, double b, double g, double r, double offset) {
        row = {Fixed(b, 15), Fixed(g, 15), Fixed(r, 15), Fixed(offset, kSumBits)};
    }
    static int Sample(const Row& row, const Channels& c) {
        const Number scale = Source::kBits == 10 ? 64 : 1;
        const Number sum =
            (Number{row.b} * c.b + Number{row.g} * c.g + Number{row.r} * c.r) * scale;
        return static_cast<int>(
            std::clamp<Number>((sum + row.offset) >> (kSumBits - (Destination::kBits - 8)), 0,
                               (1 << Destination::kBits) - 1));
    }
};

/// First byte of a row by the rule that conversions step by: the row's bytes, then the gap.
BYTE* RowOf(const ImagePlane* plane, std::size_t rowBytes, LONG y) {
    return plane ? plane->data + (static_cast<std::ptrdiff_t>(rowBytes) + plane->rowGap) * y
                 : nullptr;
}

template <class Source, class Destination, class Row>
void Picture(Row row, const ConversionPlanes& planes, LONG width, LONG height) {
    const auto pixels = static_cast<std::size_t>(width);
    for (LONG y = 0; y < height; ++y) {
        row(RowOf(planes.source, pixels * Source::kBytes, y), RowOf(planes.sourceAlpha, pixels, y),
            RowOf(planes.destination, pixels * Destination::kBytes, y),
            RowOf(planes.destinationAlpha, pixels, y), pixels);
    }
}

}  // namespace

Weights WeightsOf(LONG matrix) {
    return matrix == kMatrixBt601   ? Weights{0.299, 0.587, 0.114}
           : matrix == kMatrixBt709 ? Weights{0.2126, 0.7152, 0.0722}
                                    : Weights{0.2627, 0.6780, 0.0593};
}

void Convert(const ConversionKind& kind, const ConversionPlanes& planes, LONG width, LONG height) {
    WithYuv(kind.source, [&](auto yuv) {
        WithRgb(kind.destination, [&](auto rgb) {
            using Source = decltype(yuv);
            using Destination = decltype(rgb);
            Picture<Source, Destination>(RowToRgb<Source, Destination>{kind}, planes, width,
                                         height);
        });
    });
    WithYuv(kind.destination, [&](auto yuv) {
        WithRgb(kind.source, [&](auto rgb) {
            using Source = decltype(rgb);
            using Destination = decltype(yuv);
            Picture<Source, Destination>(RowToYuv<Source, Destination>(kind), planes, width,
                                         height);
        });
    });
}

}  // namespace nyx::reference
