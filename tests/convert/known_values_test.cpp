/// Values that follow from the standards alone.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/convert/pairs.h"

namespace nyx::test {
namespace {

using Pixel = std::vector<BYTE>;

/// One row of "YUY2" to "BGRA", as pixels.
std::vector<Pixel> ToBgra(std::vector<BYTE> yuv, DWORD rgbFlags, DWORD yuvFlags = kYuvBt601) {
    const auto width = static_cast<LONG>(yuv.size() / 2);
    std::vector<BYTE> bgra(yuv.size() * 2);
    const ImagePlane source{yuv.data(), width * 2, 0};
    const ImagePlane destination{bgra.data(), width * 4, 0};
    EXPECT_EQ(ConvertFromYuv(&source, nullptr, kYuy2, yuvFlags, 0, &destination, kBgra, rgbFlags, 0,
                             width, 1),
              S_OK);
    std::vector<Pixel> pixels;
    for (auto at = bgra.begin(); at != bgra.end(); at += 4) {
        pixels.emplace_back(at, at + 4);
    }
    return pixels;
}

TEST(KnownValues, GreysKeepTheirPlaceAndSaturateOnlyAtTheEnds) {
    struct Case {
        DWORD range;
        BYTE y, grey;
    };
    constexpr Case kCases[] = {
        {kRgbFullRange, 16, 0},    {kRgbFullRange, 235, 255},   {kRgbFullRange, 0, 0},
        {kRgbFullRange, 255, 255}, {kRgbStudioRange, 16, 16},   {kRgbStudioRange, 235, 235},
        {kRgbStudioRange, 1, 1},   {kRgbStudioRange, 254, 254},
    };
    for (const Case& c : kCases) {
        for (DWORD standard : {kYuvBt601, kYuvBt709}) {
            const std::vector<Pixel> pixels = ToBgra({c.y, 128, c.y, 128}, c.range, standard);
            EXPECT_EQ(pixels[0], (Pixel{c.grey, c.grey, c.grey, 255})) << int{c.y};
            EXPECT_EQ(pixels[1], pixels[0]) << int{c.y};
        }
    }
}

/// The primaries and their complements at full amplitude, as the two standards code them.
TEST(KnownValues, FullColoursFollowTheStandardThatTheFlagsName) {
    struct Case {
        DWORD standard;
        BYTE y, u, v, r, g, b;
    };
    constexpr Case kCases[] = {
        {kYuvBt601, 81, 90, 240, 255, 0, 0},  {kYuvBt601, 145, 54, 34, 0, 255, 0},
        {kYuvBt601, 41, 240, 110, 0, 0, 255}, {kYuvBt601, 170, 166, 16, 0, 255, 255},
        {kYuvBt709, 63, 102, 240, 255, 0, 0}, {kYuvBt709, 173, 42, 26, 0, 255, 0},
        {kYuvBt709, 32, 240, 118, 0, 0, 255}, {kYuvBt709, 188, 154, 16, 0, 255, 255},
    };
    for (const Case& c : kCases) {
        const Pixel pixel = ToBgra({c.y, c.u, c.y, c.v}, kRgbFullRange, c.standard)[0];
        BYTE bgra[] = {c.b, c.g, c.r, 255, c.b, c.g, c.r, 255};
        BYTE yuv[4] = {};
        const ImagePlane source{bgra, 8, 0};
        const ImagePlane destination{yuv, 4, 0};
        ASSERT_EQ(ConvertToYuv(&source, kBgra, kRgbFullRange, nullptr, &destination, nullptr, kYuy2,
                               c.standard, 0, 2, 1),
                  S_OK);
        const int expected[] = {c.b, c.g, c.r};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(pixel[channel], expected[channel], 2) << int{c.y} << " " << channel;
        }
        EXPECT_NEAR(yuv[0], c.y, 1) << int{c.y};
        EXPECT_NEAR(yuv[1], c.u, 1) << int{c.y};
        EXPECT_NEAR(yuv[3], c.v, 1) << int{c.y};
    }
}

/// The nearest code of the exact value (y - 64) / 876 * 1023.
TEST(KnownValues, TenBitGreysAreRoundedOnce) {
    for (int y = 64; y <= 940; ++y) {
        const auto low = static_cast<BYTE>(y);
        const auto high = static_cast<BYTE>(y >> 8);
        BYTE row[] = {low, high, 0, 2, low, high, 0, 2};  // chroma 512
        BYTE out[8] = {};
        const ImagePlane source{row, 8, 0};
        const ImagePlane destination{out, 8, 0};
        ASSERT_EQ(ConvertFromYuv(&source, nullptr, kW210, kYuvBt709, 0, &destination, k30rl,
                                 kRgbFullRange, 0, 2, 1),
                  S_OK);
        const auto grey = static_cast<DWORD>(std::floor((y - 64) * 1023 / 876.0 + 0.5));
        DWORD pixel = 0;
        std::memcpy(&pixel, out, 4);
        EXPECT_EQ(pixel, grey * 0x100401) << y;
    }
}

TEST(KnownValues, ChannelsSaturateWithoutWrapping) {
    for (DWORD range : {kRgbFullRange, kRgbStudioRange}) {
        EXPECT_EQ(ToBgra({255, 255, 255, 255}, range)[0][2], 255);
        EXPECT_EQ(ToBgra({0, 0, 0, 0}, range)[0][0], 0);
    }
}

TEST(KnownValues, AChromaEdgeShowsAHalfStepOnTheOddPixelBeforeItOnly) {
    const std::vector<Pixel> pixels = ToBgra({100, 128, 100, 60, 100, 128, 100, 60,  //
                                              100, 128, 100, 200, 100, 128, 100, 200},
                                             kRgbStudioRange);
    const auto red = [&](std::size_t x) { return int{pixels[x][2]}; };
    EXPECT_EQ(red(1), red(0));
    EXPECT_EQ(red(2), red(0));
    EXPECT_NEAR(red(3), (red(0) + red(7)) / 2.0, 1);
    for (std::size_t x = 4; x < 7; ++x) {
        EXPECT_EQ(red(x), red(7)) << x;
    }
}

TEST(KnownValues, ARowOfOnePairUsesItsOwnChroma) {
    const std::vector<Pixel> pixels = ToBgra({90, 77, 90, 201}, kRgbFullRange);
    EXPECT_EQ(pixels[0], pixels[1]);
}

}  // namespace
}  // namespace nyx::test
