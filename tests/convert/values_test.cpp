/// Values that follow from the standards alone, by the public entries and by real numbers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

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
        {2, 1, {63, 102, 63, 240}, {0, 0, 255, 255, 0, 0, 255, 255}, 2},
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

/// Codes of a pair of pixels: a byte or a little-endian word.
struct Codes {
    int bits;
    BYTE bytes[16] = {};

    int Highest() const { return (1 << bits) - 1; }
    int Get(int i) const { return bits == 8 ? bytes[i] : bytes[2 * i] | bytes[2 * i + 1] << 8; }
    void Put(int i, double share) {
        const int code = static_cast<int>(share * Highest());
        const int size = bits > 8 ? 2 : 1;
        std::memcpy(bytes + size * i, &code, static_cast<std::size_t>(size));
    }
    void ExpectNear(int i, double ideal) const {
        ASSERT_NEAR(Get(i), std::clamp(ideal, 0.0, static_cast<double>(Highest())), 1.0)
            << bits << i;
    }
};

void ConvertPair(const ConversionKind& kind, Codes& from, Codes& to) {
    const ImagePlane source = {from.bytes, 0, 0}, destination = {to.bytes, 0, 0};
    Conversion conversion;
    ASSERT_EQ(ChooseConversion(kind, &conversion), S_OK);
    ASSERT_EQ(RunConversion(GetCpuInfo(), conversion, {&source, &destination}, 2, 1), S_OK);
}

/// A lattice over both formats' codes, against the formulae of the standards.
TEST(Values, AreWithinOneCodeOfTheRealNumbers) {
    for (int i = 0; i < 24 * 729; ++i) {
        const double share[] = {i % 9 / 8.0, i / 9 % 9 / 8.0, i / 81 % 9 / 8.0};
        const LONG matrix = 2 + i / 729 % 3;
        const LONG range = i / 2187 % 2;
        Codes yuv = {i / 4374 % 2 ? 10 : 8};
        Codes rgb = {i / 8748 % 2 ? 16 : 8};
        const DWORD yuvCode = yuv.bits == 10 ? kW210 : kYuy2;
        const DWORD rgbCode = rgb.bits == 16 ? k64al : kRgba;
        const reference::Weights k = reference::WeightsOf(matrix);
        const double black = range == kStudioRange ? std::ldexp(16, rgb.bits - 8) : 0;
        const double span = range == kStudioRange ? std::ldexp(219, rgb.bits - 8) : rgb.Highest();
        const double unit = std::ldexp(1, yuv.bits - 8);
        for (int sample = 0; sample < 4; ++sample) {  // Y, U, Y, V
            yuv.Put(sample, share[sample % 2 == 0 ? 0 : (sample + 1) / 2]);
        }
        ConvertPair({yuvCode, rgbCode, range, matrix}, yuv, rgb);
        const double luma = (yuv.Get(0) / unit - 16) / 219;
        const double red = luma + (1 - k.kr) * (yuv.Get(3) / unit - 128) / 112;
        const double blue = luma + (1 - k.kb) * (yuv.Get(1) / unit - 128) / 112;
        rgb.ExpectNear(0, black + span * red);
        rgb.ExpectNear(1, black + span * (luma - k.kr * red - k.kb * blue) / k.kg);
        rgb.ExpectNear(2, black + span * blue);
        for (int channel = 0; channel < 8; ++channel) {
            rgb.Put(channel, share[channel % 4 % 3]);
        }
        ConvertPair({rgbCode, yuvCode, range, matrix}, rgb, yuv);
        const auto colour = [&](int channel) { return (rgb.Get(channel) - black) / span; };
        const double y = k.kr * colour(0) + k.kg * colour(1) + k.kb * colour(2);
        yuv.ExpectNear(0, (16 + 219 * y) * unit);
        yuv.ExpectNear(1, (128 + 112 * (colour(2) - y) / (1 - k.kb)) * unit);
        yuv.ExpectNear(3, (128 + 112 * (colour(0) - y) / (1 - k.kr)) * unit);
        ASSERT_FALSE(HasFatalFailure()) << matrix << " " << range << " " << i;
    }
}

}  // namespace
}  // namespace nyx::test
