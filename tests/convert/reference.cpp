#include "tests/convert/reference.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "convert/coefficients.h"
#include "convert/formats.h"

namespace nyx::reference {
namespace {

int Clamp(int value, int highest) {
    return std::clamp(value, 0, highest);
}

/// An RGB layout: a pixel is a little-endian number in which channels of `kBits` lie side by side,
/// R, G, B and A in these positions; -1 for no alpha.
template <int kChannelBits, std::size_t kPixelBytes, int kR, int kG, int kB, int kA>
struct RgbLayout {
    static constexpr int kBits = kChannelBits;
    static constexpr std::size_t kBytes = kPixelBytes;

    static void Write(BYTE* at, const Channels& c) {
        const std::uint64_t number =
            Put(c.r, kR) | Put(c.g, kG) | Put(c.b, kB) | (kA < 0 ? 0 : Put(c.a, kA));
        std::memcpy(at, &number, kBytes);
    }

    static Channels Read(const BYTE* at) {
        return {Get(at, kR), Get(at, kG), Get(at, kB), kA < 0 ? kHighest : Get(at, kA)};
    }

  private:
    static constexpr int kHighest = (1 << kBits) - 1;

    static std::uint64_t Put(int value, int position) {
        return static_cast<std::uint64_t>(value) << kBits * std::max(position, 0);
    }
    /// A channel lies within two bytes.
    static int Get(const BYTE* at, int position) {
        const int bit = kBits * std::max(position, 0);
        const int word = at[bit / 8] | (kBits > 8 ? at[bit / 8 + 1] << 8 : 0);
        return word >> bit % 8 & kHighest;
    }
};

/// Calls `use` with the layout of a FourCC.
template <class Use>
void WithRgbLayout(DWORD fourcc, Use use) {
    switch (fourcc) {
        case kBgr3:
            return use(RgbLayout<8, 3, 2, 1, 0, -1>{});
        case kRgb3:
            return use(RgbLayout<8, 3, 0, 1, 2, -1>{});
        case kBgra:
            return use(RgbLayout<8, 4, 2, 1, 0, 3>{});
        case kRgba:
            return use(RgbLayout<8, 4, 0, 1, 2, 3>{});
        case kArgb:
            return use(RgbLayout<8, 4, 1, 2, 3, 0>{});
        case k48rl:
            return use(RgbLayout<16, 6, 0, 1, 2, -1>{});
        case k64al:
            return use(RgbLayout<16, 8, 0, 1, 2, 3>{});
        case kA46l:
            return use(RgbLayout<16, 8, 1, 2, 3, 0>{});
        case kL64a:
            return use(RgbLayout<16, 8, 2, 1, 0, 3>{});
        case k30rl:
            return use(RgbLayout<10, 4, 0, 1, 2, -1>{});
        case k40al:
            return use(RgbLayout<10, 5, 0, 1, 2, 3>{});
        case kA04l:
            return use(RgbLayout<10, 5, 1, 2, 3, 0>{});
        case kL40a:
            return use(RgbLayout<10, 5, 2, 1, 0, 3>{});
        default:
            return;
    }
}

// ---- YUV layouts: samples of a row in memory order Y0, U, Y1, V ----

struct Yuy2Layout {
    static constexpr int kBits = 8;
    static constexpr std::size_t kBytes = 2;
    static int Get(const BYTE* row, std::size_t sample) { return row[sample]; }
    static void Put(BYTE* row, std::size_t sample, int value) {
        row[sample] = static_cast<BYTE>(value);
    }
};

struct W210Layout {
    static constexpr int kBits = 10;
    static constexpr std::size_t kBytes = 4;
    static int Get(const BYTE* row, std::size_t sample) {
        return (row[2 * sample] | row[2 * sample + 1] << 8) & 1023;
    }
    static void Put(BYTE* row, std::size_t sample, int value) {
        row[2 * sample] = static_cast<BYTE>(value);
        row[2 * sample + 1] = static_cast<BYTE>(value >> 8);
    }
};

template <class Use>
void WithYuvLayout(DWORD fourcc, Use use) {
    if (fourcc == kYuy2) {
        return use(Yuy2Layout{});
    }
    return use(W210Layout{});
}

// ---- arithmetic ----

struct Sums {
    int r;
    int g;
    int b;
};

Sums Multiply(const CoefficientBlock& k, int y, int cu, int cv) {
    return {y * k.luma + cv * k.vToR + k.offset[0],
            y * k.luma + cu * k.uToG + cv * k.vToG + k.offset[1],
            y * k.luma + cu * k.uToB + k.offset[2]};
}

/// 16-bit channels before alpha: sums with 20 fractional bits, counted in 8-bit codes.
Channels DeepChannels(const Sums& sums) {
    return {Clamp(sums.r >> 12, 65535), Clamp(sums.g >> 12, 65535), Clamp(sums.b >> 12, 65535), 0};
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

Channels ScaleByAlpha(const Channels& c, const YuvToRgbRequest& in, int alpha) {
    if (in.sourceAlphaMode == in.destinationAlphaMode) {
        return c;
    }
    const bool premultiply = in.destinationAlphaMode == kPremultipliedAlpha;
    const int numerator = premultiply ? alpha : 255;
    const int denominator = premultiply ? 255 : alpha;
    const int black = in.range == kStudioRange ? 16 * 256 : 0;
    return {ScaleAboutBlack(c.r, black, numerator, denominator),
            ScaleAboutBlack(c.g, black, numerator, denominator),
            ScaleAboutBlack(c.b, black, numerator, denominator), 0};
}

int ToTen(int word) {
    return std::min(word + 32, 65535) >> 6;
}

template <class Yuv, class Rgb>
struct FromYuvPixel {
    const YuvToRgbRequest& in;
    CoefficientBlock block;

    void operator()(BYTE* at, int y, int cu, int cv, const BYTE* alpha) const {
        if constexpr (Rgb::kBits == 8) {
            constexpr int kShift = Yuv::kBits == 8 ? 14 : 16;
            const Sums sums = Multiply(block, y, cu, cv);
            Rgb::Write(at, {Clamp(sums.r >> kShift, 255), Clamp(sums.g >> kShift, 255),
                            Clamp(sums.b >> kShift, 255), alpha ? *alpha : 255});
        } else {
            constexpr int kToTenBits = Yuv::kBits == 8 ? 4 : 1;
            Channels c =
                DeepChannels(Multiply(block, y * kToTenBits, cu * kToTenBits, cv * kToTenBits));
            if (alpha) {
                c = ScaleByAlpha(c, in, *alpha);
            }
            c.a = (alpha ? *alpha : 255) * 257;
            if constexpr (Rgb::kBits == 10) {
                c = {ToTen(c.r), ToTen(c.g), ToTen(c.b), c.a >> 6};
            }
            Rgb::Write(at, c);
        }
    }
};

template <class Yuv, class Pixel>
void FromYuvRow(const Pixel& pixel, const BYTE* source, const BYTE* alpha, BYTE* destination,
                std::size_t bytesPerPixel, std::size_t width) {
    for (std::size_t x = 0; x < width; x += 2) {
        const std::size_t own = 2 * x;
        const std::size_t right = x + 2 < width ? own + 4 : own;
        const int u = Yuv::Get(source, own + 1);
        const int v = Yuv::Get(source, own + 3);
        const int nextU = Yuv::Get(source, right + 1);
        const int nextV = Yuv::Get(source, right + 3);
        pixel(destination + x * bytesPerPixel, Yuv::Get(source, own), 2 * u, 2 * v,
              alpha ? alpha + x : nullptr);
        pixel(destination + (x + 1) * bytesPerPixel, Yuv::Get(source, own + 2), u + nextU,
              v + nextV, alpha ? alpha + x + 1 : nullptr);
    }
}

/// First byte of a row by the rule that kernels step by: the row's bytes, then the gap.
BYTE* RowOf(const ImagePlane* plane, std::size_t rowBytes, LONG y) {
    if (!plane || !plane->data) {
        return nullptr;
    }
    return plane->data + (static_cast<std::ptrdiff_t>(rowBytes) + plane->rowGap) * y;
}

template <class Yuv, class Rgb>
void FromYuvPicture(const YuvToRgbRequest& in) {
    const CoefficientBlock block = Rgb::kBits == 8
                                       ? YuvToRgb8Coefficients(in.matrix, in.range, Yuv::kBits)
                                       : YuvToDeepRgbCoefficients(in.matrix, in.range, Rgb::kBits);
    const FromYuvPixel<Yuv, Rgb> pixel{in, block};
    const auto width = static_cast<std::size_t>(in.width);
    for (LONG y = 0; y < in.height; ++y) {
        FromYuvRow<Yuv>(pixel, RowOf(in.source, width * Yuv::kBytes, y),
                        RowOf(in.sourceAlpha, width, y),
                        RowOf(in.destination, width * Rgb::kBytes, y), Rgb::kBytes, width);
    }
}

/// One sample: the dot product, then `shift` and saturation.
template <class Number>
int DotProduct(const ReverseRow& row, const Channels& c, int shift, int highest) {
    const Number sum = Number{row.b} * c.b + Number{row.g} * c.g + Number{row.r} * c.r + row.offset;
    return static_cast<int>(std::clamp<Number>(sum >> shift, 0, highest));
}

template <class Rgb, class Yuv>
struct ToYuvSample {
    using Number = std::conditional_t<Rgb::kBits == 8, std::int32_t, std::int64_t>;
    static constexpr int kShift = (Rgb::kBits == 8 ? 15 : 23) - (Yuv::kBits - 8);

    int operator()(const ReverseRow& row, const Channels& c) const {
        return DotProduct<Number>(row, c, kShift, (1 << Yuv::kBits) - 1);
    }
};

template <class Rgb>
Channels ReadScaled(const BYTE* at) {
    constexpr int kScale = Rgb::kBits == 10 ? 64 : 1;
    const Channels c = Rgb::Read(at);
    return {c.r * kScale, c.g * kScale, c.b * kScale, c.a * kScale};
}

template <class Rgb, class Yuv>
void ToYuvRow(const ReverseCoefficientBlock& block, const BYTE* source, BYTE* destination,
              std::size_t width) {
    const ToYuvSample<Rgb, Yuv> sample;
    for (std::size_t x = 0; x < width; x += 2) {
        const Channels even = ReadScaled<Rgb>(source + x * Rgb::kBytes);
        const Channels odd = ReadScaled<Rgb>(source + (x + 1) * Rgb::kBytes);
        Yuv::Put(destination, 2 * x, sample(block.y, even));
        Yuv::Put(destination, 2 * x + 1, sample(block.u, even));
        Yuv::Put(destination, 2 * x + 2, sample(block.y, odd));
        Yuv::Put(destination, 2 * x + 3, sample(block.v, even));
    }
}

template <class Rgb>
void AlphaRow(const BYTE* source, const BYTE* sourceAlpha, BYTE* destination, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const int own = Rgb::Read(source + x * Rgb::kBytes).a >> (Rgb::kBits - 8);
        destination[x] = sourceAlpha ? sourceAlpha[x] : static_cast<BYTE>(own);
    }
}

template <class Rgb, class Yuv>
void ToYuvPicture(const RgbToYuvRequest& in) {
    const ReverseCoefficientBlock block =
        RgbToYuvCoefficients(in.matrix, in.range, Rgb::kBits, Yuv::kBits);
    const auto width = static_cast<std::size_t>(in.width);
    for (LONG y = 0; y < in.height; ++y) {
        const BYTE* source = RowOf(in.source, width * Rgb::kBytes, y);
        ToYuvRow<Rgb, Yuv>(block, source, RowOf(in.destination, width * Yuv::kBytes, y), width);
        if (BYTE* alpha = RowOf(in.destinationAlpha, width, y)) {
            AlphaRow<Rgb>(source, RowOf(in.sourceAlpha, width, y), alpha, width);
        }
    }
}

}  // namespace

void FromYuv(const YuvToRgbRequest& in) {
    WithYuvLayout(in.sourceFourCC, [&](auto yuv) {
        WithRgbLayout(in.destinationFourCC,
                      [&](auto rgb) { FromYuvPicture<decltype(yuv), decltype(rgb)>(in); });
    });
}

void ToYuv(const RgbToYuvRequest& in) {
    WithYuvLayout(in.destinationFourCC, [&](auto yuv) {
        WithRgbLayout(in.sourceFourCC,
                      [&](auto rgb) { ToYuvPicture<decltype(rgb), decltype(yuv)>(in); });
    });
}

void PackPixel(DWORD fourcc, const Channels& channels, BYTE* at) {
    WithRgbLayout(fourcc, [&](auto rgb) { decltype(rgb)::Write(at, channels); });
}

Channels UnpackPixel(DWORD fourcc, const BYTE* at) {
    Channels channels{};
    WithRgbLayout(fourcc, [&](auto rgb) { channels = decltype(rgb)::Read(at); });
    return channels;
}

}  // namespace nyx::reference
