/// What the tables leave open lies within one code of the ideal real-number result.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

constexpr LONG kWidth = 512;
constexpr LONG kHeight = 8;

/// Black and the span to white of a channel of `bits`.
struct Range {
    double black, span;
};

Range RangeOf(LONG range, LONG bits) {
    const double scale = std::ldexp(1.0, bits - 8);
    return range == kStudioRange ? Range{16 * scale, 219 * scale}
                                 : Range{0, std::ldexp(1.0, bits) - 1};
}

double Saturated(double value, LONG bits) {
    return std::clamp(value, 0.0, std::ldexp(1.0, bits) - 1);
}

/// Sample `i` of a pixel pair: Y, U, Y, V.
int YuvSample(DWORD yuv, const BYTE* pair, int i) {
    return yuv == kYuy2 ? pair[i] : (pair[2 * i] | pair[2 * i + 1] << 8) & 1023;
}

/// Calls `check(pair, channels)` with each even pixel of two pictures.
template <class Check>
void ForEachEvenPixel(DWORD yuvFourCC, const Picture& yuv, DWORD rgbFourCC, const Picture& rgb,
                      Check check) {
    for (LONG row = 0; row < kHeight; ++row) {
        for (LONG x = 0; x < kWidth; x += 2) {
            check(yuv.Row(row) + x * BytesPerPixel(yuvFourCC),
                  reference::UnpackPixel(rgbFourCC, rgb.Row(row) + x * BytesPerPixel(rgbFourCC)));
        }
    }
}

TEST(Ideal, DeepChannelsAreWithinOneCode) {
    Picture source(RowBytes(kW210, kWidth), kHeight);
    FillTenBitContent(source, Content::kAdversarial, 3);
    for (DWORD rgb : {k48rl, k30rl}) {
        for (LONG matrix : kMatrices) {
            for (LONG range : kRanges) {
                Picture out(RowBytes(rgb, kWidth), kHeight);
                ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), {source.plane(), nullptr, kW210, 0, out.plane(),
                                                     rgb, 0, range, matrix, kWidth, kHeight}),
                          S_OK);
                const Weights k = WeightsOf(matrix);
                const LONG bits = FindPixelFormat(rgb)->bitsPerChannel;
                const Range to = RangeOf(range, bits);
                const auto expectNear = [&](int actual, double ideal) {
                    ASSERT_NEAR(actual, Saturated(to.black + ideal * to.span, bits), 1.0);
                };
                ForEachEvenPixel(kW210, source, rgb, out,
                                 [&](const BYTE* pair, const reference::Channels& c) {
                                     const double y = (YuvSample(kW210, pair, 0) - 64) / 876.0;
                                     const double pb = (YuvSample(kW210, pair, 1) - 512) / 896.0;
                                     const double pr = (YuvSample(kW210, pair, 3) - 512) / 896.0;
                                     const double r = y + 2 * (1 - k.kr) * pr;
                                     const double b = y + 2 * (1 - k.kb) * pb;
                                     expectNear(c.r, r);
                                     expectNear(c.g, (y - k.kr * r - k.kb * b) / k.kg);
                                     expectNear(c.b, b);
                                 });
                ASSERT_FALSE(HasFatalFailure()) << Name(rgb) << matrix << range;
            }
        }
    }
}

void CheckReverse(DWORD rgb, DWORD yuv, LONG matrix, LONG range) {
    Picture source(RowBytes(rgb, kWidth), kHeight);
    Picture out(RowBytes(yuv, kWidth), kHeight);
    FillContent(source, Content::kAdversarial, static_cast<std::uint32_t>(matrix));
    ASSERT_EQ(RunRgbToYuv(GetCpuInfo(), {source.plane(), nullptr, rgb, out.plane(), nullptr, yuv, 0,
                                         range, matrix, kWidth, kHeight}),
              S_OK);
    const Weights k = WeightsOf(matrix);
    const Range from = RangeOf(range, FindPixelFormat(rgb)->bitsPerChannel);
    const LONG bits = FindPixelFormat(yuv)->bitsPerChannel;
    ForEachEvenPixel(yuv, out, rgb, source, [&](const BYTE* pair, const reference::Channels& c) {
        const double r = (c.r - from.black) / from.span;
        const double g = (c.g - from.black) / from.span;
        const double b = (c.b - from.black) / from.span;
        const double y = k.kr * r + k.kg * g + k.kb * b;
        const auto expectNear = [&](int sample, double ideal) {
            ASSERT_NEAR(YuvSample(yuv, pair, sample),
                        Saturated(std::ldexp(ideal, static_cast<int>(bits - 8)), bits), 1.0);
        };
        expectNear(0, 16 + 219 * y);
        expectNear(1, 128 + 224 * (b - y) / (2 * (1 - k.kb)));
        expectNear(3, 128 + 224 * (r - y) / (2 * (1 - k.kr)));
    });
}

TEST(Ideal, ReverseSamplesAreWithinOneCode) {
    for (DWORD rgb : kRgbFormats) {
        for (DWORD yuv : kYuvFormats) {
            for (LONG matrix : kMatrices) {
                for (LONG range : kRanges) {
                    CheckReverse(rgb, yuv, matrix, range);
                    ASSERT_FALSE(HasFatalFailure()) << Name(rgb) << Name(yuv) << matrix << range;
                }
            }
        }
    }
}

TEST(Ideal, ScalingByAlphaIsWithinOneCodeOfScalingTheOpaqueResult) {
    constexpr LONG kAlphas = 256;
    Picture source(RowBytes(kW210, kAlphas), 4);
    Picture alpha(kAlphas, 4);
    FillTenBitContent(source, Content::kRandom, 21);
    int next = 0;
    alpha.Fill([&] { return next++; });
    for (LONG range : kRanges) {
        const Range to = RangeOf(range, 16);
        for (LONG mode : {kStraightAlpha, kPremultipliedAlpha}) {
            Picture kept(RowBytes(k64al, kAlphas), 4);
            Picture scaled(RowBytes(k64al, kAlphas), 4);
            YuvToRgbRequest request{source.plane(), alpha.plane(), kW210, mode,
                                    kept.plane(),   k64al,         mode,  range,
                                    kMatrixBt709,   kAlphas,       4};
            ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
            request.destination = scaled.plane();
            request.destinationAlphaMode = 1 - mode;
            ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
            for (LONG i = 0; i < 4 * kAlphas; ++i) {
                const LONG x = i % kAlphas;
                const LONG row = i / kAlphas;
                const auto before = reference::UnpackPixel(k64al, kept.Row(row) + 8 * x);
                const auto after = reference::UnpackPixel(k64al, scaled.Row(row) + 8 * x);
                ASSERT_EQ(after.a, x * 257);
                const double factor = mode == kStraightAlpha ? x / 255.0 : x ? 255.0 / x : 0;
                const double ideal = to.black + std::max(before.g - to.black, 0.0) * factor;
                ASSERT_NEAR(after.g, Saturated(ideal, 16), 1.0);
            }
        }
    }
}

}  // namespace
}  // namespace nyx::test
