/// What the tables leave open lies within one code of the ideal real-number result.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

struct Weights {
    double kr, kg, kb;
};

Weights WeightsOf(LONG matrix) {
    switch (matrix) {
        case kMatrixBt601:
            return {0.299, 0.587, 0.114};
        case kMatrixBt709:
            return {0.2126, 0.7152, 0.0722};
        default:
            return {0.2627, 0.6780, 0.0593};
    }
}

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

constexpr LONG kWidth = 512;
constexpr LONG kHeight = 8;

TEST(Ideal, DeepChannelsAreWithinOneCode) {
    Picture source(RowBytes(kW210, kWidth), kHeight);
    for (DWORD rgb : {k48rl, k30rl}) {
        const LONG bits = FindPixelFormat(rgb)->bitsPerChannel;
        for (LONG matrix : kMatrices) {
            for (LONG range : kRanges) {
                FillTenBitContent(source, Content::kAdversarial,
                                  static_cast<std::uint32_t>(matrix));
                Picture out(RowBytes(rgb, kWidth), kHeight);
                ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), {source.plane(), nullptr, kW210, 0, out.plane(),
                                                     rgb, 0, range, matrix, kWidth, kHeight}),
                          S_OK);
                const Weights k = WeightsOf(matrix);
                const Range to = RangeOf(range, bits);
                for (LONG row = 0; row < kHeight; ++row) {
                    for (LONG x = 0; x < kWidth; x += 2) {
                        const BYTE* pair = source.Row(row) + 4 * x;
                        const auto sample = [&](int i) {
                            return (pair[2 * i] | pair[2 * i + 1] << 8) & 1023;
                        };
                        const double y = (sample(0) - 64) / 876.0;
                        const double pb = (sample(1) - 512) / 896.0;
                        const double pr = (sample(3) - 512) / 896.0;
                        const double r = y + 2 * (1 - k.kr) * pr;
                        const double b = y + 2 * (1 - k.kb) * pb;
                        const double g = (y - k.kr * r - k.kb * b) / k.kg;
                        const reference::Channels c =
                            reference::UnpackPixel(rgb, out.Row(row) + x * BytesPerPixel(rgb));
                        ASSERT_NEAR(c.r, Saturated(to.black + r * to.span, bits), 1.0);
                        ASSERT_NEAR(c.g, Saturated(to.black + g * to.span, bits), 1.0);
                        ASSERT_NEAR(c.b, Saturated(to.black + b * to.span, bits), 1.0);
                    }
                }
            }
        }
    }
}

TEST(Ideal, ReverseSamplesAreWithinOneCode) {
    for (DWORD rgb : kRgbFormats) {
        for (DWORD yuv : kYuvFormats) {
            for (LONG matrix : kMatrices) {
                for (LONG range : kRanges) {
                    Picture source(RowBytes(rgb, kWidth), kHeight);
                    Picture out(RowBytes(yuv, kWidth), kHeight);
                    FillContent(source, Content::kAdversarial, static_cast<std::uint32_t>(matrix));
                    ASSERT_EQ(RunRgbToYuv(GetCpuInfo(),
                                          {source.plane(), nullptr, rgb, out.plane(), nullptr, yuv,
                                           0, range, matrix, kWidth, kHeight}),
                              S_OK);
                    const Weights k = WeightsOf(matrix);
                    const Range from = RangeOf(range, FindPixelFormat(rgb)->bitsPerChannel);
                    const LONG bits = yuv == kYuy2 ? 8 : 10;
                    const double unit = std::ldexp(1.0, bits - 8);
                    for (LONG row = 0; row < kHeight; ++row) {
                        for (LONG x = 0; x < kWidth; x += 2) {
                            const reference::Channels c = reference::UnpackPixel(
                                rgb, source.Row(row) + x * BytesPerPixel(rgb));
                            const double r = (c.r - from.black) / from.span;
                            const double g = (c.g - from.black) / from.span;
                            const double b = (c.b - from.black) / from.span;
                            const double y = k.kr * r + k.kg * g + k.kb * b;
                            const double pb = (b - y) / (2 * (1 - k.kb));
                            const double pr = (r - y) / (2 * (1 - k.kr));
                            const double ideal[] = {16 + 219 * y, 128 + 224 * pb, 0,
                                                    128 + 224 * pr};
                            const BYTE* pair = out.Row(row) + x * BytesPerPixel(yuv);
                            for (int i : {0, 1, 3}) {
                                const int actual =
                                    bits == 8 ? pair[i] : pair[2 * i] | pair[2 * i + 1] << 8;
                                ASSERT_NEAR(actual, Saturated(ideal[i] * unit, bits), 1.0);
                            }
                        }
                    }
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
            for (LONG y = 0; y < 4; ++y) {
                for (LONG x = 0; x < kAlphas; ++x) {
                    const reference::Channels before =
                        reference::UnpackPixel(k64al, kept.Row(y) + 8 * x);
                    const reference::Channels after =
                        reference::UnpackPixel(k64al, scaled.Row(y) + 8 * x);
                    ASSERT_EQ(after.a, x * 257);
                    const double factor = mode == kStraightAlpha ? x / 255.0 : x ? 255.0 / x : 0;
                    const double ideal = to.black + std::max(before.g - to.black, 0.0) * factor;
                    ASSERT_NEAR(after.g, Saturated(ideal, 16), 1.0);
                }
            }
        }
    }
}

}  // namespace
}  // namespace nyx::test
