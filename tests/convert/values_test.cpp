/// Values that follow from the standards alone, by the public entries and by real numbers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

/// Black, white and full colours, as the two standards code them.
TEST(Values, GreysAndFullColoursFollowTheFlags) {
    struct Case {
        DWORD standard, range;
        BYTE yuv[4], bgra[8];
        int tolerance;
    };
    const Case cases[] = {
        {0, 1, {16, 128, 16, 128}, {0, 0, 0, 255, 0, 0, 0, 255}, 0},
        {2, 3, {235, 128, 235, 128}, {255, 255, 255, 255, 255, 255, 255, 255}, 0},
        {0, 0, {16, 128, 16, 128}, {16, 16, 16, 255, 16, 16, 16, 255}, 0},
        {2, 2, {235, 128, 254, 128}, {235, 235, 235, 255, 254, 254, 254, 255}, 0},
        {0, 1, {81, 90, 81, 240}, {0, 0, 255, 255, 0, 0, 255, 255}, 2},
        {0, 1, {41, 240, 41, 110}, {255, 0, 0, 255, 255, 0, 0, 255}, 2},
        {2, 3, {63, 102, 63, 240}, {0, 0, 255, 255, 0, 0, 255, 255}, 2},
        {2, 1, {32, 240, 32, 118}, {255, 0, 0, 255, 255, 0, 0, 255}, 2},
        {2, 0, {63, 102, 63, 240}, {16, 16, 235, 255, 16, 16, 235, 255}, 2},
    };
    for (Case c : cases) {
        BYTE yuv[4], bgra[8];
        const ImagePlane coded = {c.yuv, 4, 0}, colour = {c.bgra, 8, 0};
        const ImagePlane toYuv = {yuv, 4, 0}, toRgb = {bgra, 8, 0};
        ASSERT_EQ(
            ConvertFromYuv(&coded, nullptr, kYuy2, c.standard, 0, &toRgb, kBgra, c.range, 0, 2, 1),
            S_OK);
        ASSERT_EQ(ConvertToYuv(&colour, kBgra, c.range, nullptr, &toYuv, nullptr, kYuy2, c.standard,
                               0, 2, 1),
                  S_OK);
        for (int i = 0; i < 8; ++i) {
            EXPECT_NEAR(bgra[i], c.bgra[i], c.tolerance) << &c - cases << " channel " << i;
            EXPECT_NEAR(yuv[i / 2], c.yuv[i / 2], 1) << &c - cases << " sample " << i / 2;
        }
    }
}

/// What a pair of pixels is made of: bytes, or little-endian words.
int Get(const BYTE* codes, int bits, int i) {
    return bits == 8 ? codes[i] : codes[2 * i] | codes[2 * i + 1] << 8;
}

/// A lattice over the codes of Y, U and V, against the formula of the standards, and back again.
TEST(Values, AreWithinOneCodeOfTheRealNumbers) {
    for (int i = 0; i < 24 * 729; ++i) {
        const int bits = i / 729 % 2 ? 10 : 8;
        const int rgbBits = i / 1458 % 2 ? 16 : 8;
        const LONG range = i / 2916 % 2;
        const LONG matrix = 2 + i / 5832;
        const int highest = (1 << bits) - 1;
        const int y = i % 9 * highest / 8, u = i / 9 % 9 * highest / 8,
                  v = i / 81 % 9 * highest / 8;
        BYTE yuv[] = {BYTE(y), BYTE(u), BYTE(y), BYTE(v)};
        BYTE wide[] = {BYTE(y), BYTE(y >> 8), BYTE(u), BYTE(u >> 8),
                       BYTE(y), BYTE(y >> 8), BYTE(v), BYTE(v >> 8)};
        BYTE rgb[16] = {}, back[8] = {};
        const ImagePlane source = {bits == 8 ? yuv : wide, 0, 0};
        const ImagePlane between = {rgb, 0, 0}, destination = {back, 0, 0};
        const DWORD yuvCode = bits == 8 ? kYuy2 : kW210;
        const DWORD rgbCode = rgbBits == 8 ? kRgba : k64al;
        Conversion there, andBack;
        ASSERT_EQ(ChooseConversion({yuvCode, rgbCode, range, matrix}, &there), S_OK);
        ASSERT_EQ(ChooseConversion({rgbCode, yuvCode, range, matrix}, &andBack), S_OK);
        ASSERT_EQ(RunConversion(GetCpuInfo(), there, {&source, &between}, 2, 1), S_OK);
        ASSERT_EQ(RunConversion(GetCpuInfo(), andBack, {&between, &destination}, 2, 1), S_OK);

        const reference::Weights k = reference::WeightsOf(matrix);
        const double unit = std::ldexp(1, bits - 8), rgbUnit = std::ldexp(1, rgbBits - 8);
        const double luma = (y / unit - 16) / 219;
        const double red = luma + (1 - k.kr) * (v / unit - 128) / 112;
        const double blue = luma + (1 - k.kb) * (u / unit - 128) / 112;
        const double ideal[] = {red, (luma - k.kr * red - k.kb * blue) / k.kg, blue};
        const double top = 256 * rgbUnit - 1;
        bool saturates = false;
        for (int c = 0; c < 3; ++c) {
            const double code =
                range == kStudioRange ? (16 + 219 * ideal[c]) * rgbUnit : top * ideal[c];
            saturates = saturates || code < 0 || code > top;
            ASSERT_NEAR(Get(rgb, rgbBits, c), std::clamp(code, 0.0, top), 1) << i << " " << c;
        }
        const double tolerance = rgbBits == 8 ? unit : 1;
        for (int c = 0; c < 4 && !saturates; ++c) {
            ASSERT_NEAR(Get(back, bits, c), Get(source.data, bits, c), tolerance) << i << " " << c;
        }
    }
}

}  // namespace
}  // namespace nyx::test
