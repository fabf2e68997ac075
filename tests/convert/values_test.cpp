/// Values that follow from the standards alone, by the public entries and by real numbers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

/// Black, white, full colours and codes beyond them, as the two standards code them.
TEST(Values, GreysAndFullColoursFollowTheFlags) {
    struct Case {
        DWORD standard, range;
        BYTE y, u, v, r, g, b;
        int tolerance;
    };
    constexpr DWORD kFull = kRgbFullRange;
    const Case cases[] = {
        {kYuvBt601, kFull, 16, 128, 128, 0, 0, 0, 0},
        {kYuvBt709, kFull + 2, 235, 128, 128, 255, 255, 255, 0},
        {kYuvBt601, kRgbStudioRange, 16, 128, 128, 16, 16, 16, 0},
        {kYuvBt709, kRgbStudioRange + 2, 235, 128, 128, 235, 235, 235, 0},
        {kYuvBt709, kRgbStudioRange, 254, 128, 128, 254, 254, 254, 0},
        {kYuvBt601, kFull, 81, 90, 240, 255, 0, 0, 2},
        {kYuvBt601, kFull, 145, 54, 34, 0, 255, 0, 2},
        {kYuvBt601, kFull, 41, 240, 110, 0, 0, 255, 2},
        {kYuvBt601, kFull, 170, 166, 16, 0, 255, 255, 2},
        {kYuvBt709, kFull, 63, 102, 240, 255, 0, 0, 2},
        {kYuvBt709, kFull, 173, 42, 26, 0, 255, 0, 2},
        {kYuvBt709, kFull, 32, 240, 118, 0, 0, 255, 2},
        {kYuvBt601, kRgbStudioRange, 81, 90, 240, 235, 16, 16, 2},
        {kYuvBt709, kRgbStudioRange, 63, 102, 240, 235, 16, 16, 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << int{c.y} << " " << int{c.v} << " " << c.standard);
        BYTE coded[] = {c.y, c.u, c.y, c.v};
        BYTE bgra[] = {c.b, c.g, c.r, 9, c.b, c.g, c.r, 9};
        BYTE toYuv[4] = {};
        BYTE toRgb[8] = {};
        const ImagePlane yuv = {coded, 4, 0}, rgb = {bgra, 8, 0};
        const ImagePlane yuvOut = {toYuv, 4, 0}, rgbOut = {toRgb, 8, 0};
        ASSERT_EQ(
            ConvertFromYuv(&yuv, nullptr, kYuy2, c.standard, 0, &rgbOut, kBgra, c.range, 0, 2, 1),
            S_OK);
        ASSERT_EQ(ConvertToYuv(&rgb, kBgra, c.range, nullptr, &yuvOut, nullptr, kYuy2, c.standard,
                               0, 2, 1),
                  S_OK);
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_NEAR(toRgb[i], i % 4 == 3 ? 255 : bgra[i], c.tolerance) << i;
        }
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(toYuv[i], coded[i], 1) << i;
        }
    }
}

/// Samples and channels of a format, as numbers in codes of its own depth.
int WordAt(const BYTE* at, int index, int bits) {
    return bits == 8 ? at[index] : at[2 * index] | at[2 * index + 1] << 8;
}
void PutWord(BYTE* at, int index, int bits, int value) {
    at[bits == 8 ? index : 2 * index] = static_cast<BYTE>(value);
    if (bits > 8) {
        at[2 * index + 1] = static_cast<BYTE>(value >> 8);
    }
}

/// A pair of pixels of one colour, converted; channels or samples by their place.
std::vector<BYTE> ConvertPair(const ConversionKind& kind, const int (&words)[8], int bits) {
    BYTE from[16] = {};
    std::vector<BYTE> to(16);
    for (int i = 0; i < 8; ++i) {
        PutWord(from, i, bits, words[i]);
    }
    const ImagePlane source = {from, 0, 0}, destination = {to.data(), 0, 0};
    Conversion conversion;
    EXPECT_EQ(ChooseConversion(kind, &conversion), S_OK);
    EXPECT_EQ(RunConversion(GetCpuInfo(), conversion, {&source, &destination}, 2, 1), S_OK);
    return to;
}

/// A lattice over both formats' codes, against the formulae of the standards: within one code.
TEST(Values, AreWithinOneCodeOfTheRealNumbers) {
    for (int code = 0; code < 3 * 2 * 2 * 2; ++code) {
        const LONG matrix = 2 + code % 3;
        const LONG range = code / 3 % 2;
        const DWORD yuv = code / 6 % 2 ? kW210 : kYuy2;
        const DWORD rgb = code / 12 % 2 ? k64al : kRgba;
        const int yuvBits = yuv == kW210 ? 10 : 8;
        const int rgbBits = rgb == k64al ? 16 : 8;
        const reference::Weights k = reference::WeightsOf(matrix);
        const double scale = std::ldexp(1, rgbBits - 8);
        const double black = range == kStudioRange ? 16 * scale : 0;
        const double span = range == kStudioRange ? 219 * scale : std::ldexp(1, rgbBits) - 1;
        const double yuvScale = std::ldexp(1, yuvBits - 8);
        const auto expectNear = [&](int actual, double ideal, int bits) {
            ASSERT_NEAR(actual, std::clamp(ideal, 0.0, std::ldexp(1, bits) - 1), 1.0)
                << matrix << " " << range << " " << yuvBits << " " << rgbBits;
        };
        for (int i = 0; i < 9 * 9 * 9; ++i) {
            const double a = i % 9 / 8.0, b = i / 9 % 9 / 8.0, c = i / 81 / 8.0;
            const int highestYuv = (1 << yuvBits) - 1;
            const int y = static_cast<int>(a * highestYuv), u = static_cast<int>(b * highestYuv),
                      v = static_cast<int>(c * highestYuv);
            const auto pixel =
                ConvertPair({yuv, rgb, range, matrix}, {y, u, y, v}, yuvBits == 8 ? 8 : 16);
            const double luma = (y / yuvScale - 16) / 219;
            const double red = luma + 2 * (1 - k.kr) * (v / yuvScale - 128) / 224;
            const double blue = luma + 2 * (1 - k.kb) * (u / yuvScale - 128) / 224;
            const double green = (luma - k.kr * red - k.kb * blue) / k.kg;
            expectNear(WordAt(pixel.data(), 0, rgbBits), black + span * red, rgbBits);
            expectNear(WordAt(pixel.data(), 1, rgbBits), black + span * green, rgbBits);
            expectNear(WordAt(pixel.data(), 2, rgbBits), black + span * blue, rgbBits);

            const int highestRgb = (1 << rgbBits) - 1;
            const int r = static_cast<int>(a * highestRgb), g = static_cast<int>(b * highestRgb),
                      blueCode = static_cast<int>(c * highestRgb);
            const auto pair = ConvertPair({rgb, yuv, range, matrix},
                                          {r, g, blueCode, 0, r, g, blueCode, 0}, rgbBits);
            const double rr = (r - black) / span, gg = (g - black) / span,
                         bb = (blueCode - black) / span;
            const double yy = k.kr * rr + k.kg * gg + k.kb * bb;
            const int bits = yuvBits == 8 ? 8 : 16;
            expectNear(WordAt(pair.data(), 0, bits), (16 + 219 * yy) * yuvScale, yuvBits);
            expectNear(WordAt(pair.data(), 1, bits),
                       (128 + 112 * (bb - yy) / (1 - k.kb)) * yuvScale, yuvBits);
            expectNear(WordAt(pair.data(), 3, bits),
                       (128 + 112 * (rr - yy) / (1 - k.kr)) * yuvScale, yuvBits);
            ASSERT_FALSE(HasFatalFailure());
        }
    }
}

}  // namespace
}  // namespace nyx::test
