/// Values that follow from the standards alone.

#include <gtest/gtest.h>

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
