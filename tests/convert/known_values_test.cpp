/// Values that follow from the standards, and digests of whole outputs.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

using Pixel = std::vector<BYTE>;
using Row = std::vector<BYTE>;

/// One row of "YUY2" to "BGRA", as pixels.
std::vector<Pixel> ToBgra(Row yuv, DWORD rgbFlags, DWORD yuvFlags = kYuvBt601) {
    const auto width = static_cast<LONG>(yuv.size() / 2);
    Row bgra(yuv.size() * 2);
    const ImagePlane source{yuv.data(), width * 2, 0};
    const ImagePlane destination{bgra.data(), width * 4, 0};
    EXPECT_EQ(ConvertFromYuv(&source, nullptr, kYuy2, yuvFlags, 0, &destination, kBgra, rgbFlags, 0,
                             width, 1),
              S_OK);
    std::vector<Pixel> pixels;
    for (std::size_t i = 0; i < bgra.size(); i += 4) {
        pixels.emplace_back(bgra.begin() + static_cast<std::ptrdiff_t>(i),
                            bgra.begin() + static_cast<std::ptrdiff_t>(i) + 4);
    }
    return pixels;
}

Row ToYuy2(Row bgr, DWORD rgbFlags) {
    const auto width = static_cast<LONG>(bgr.size() / 3);
    Row yuv(static_cast<std::size_t>(width) * 2);
    const ImagePlane source{bgr.data(), width * 3, 0};
    const ImagePlane destination{yuv.data(), width * 2, 0};
    EXPECT_EQ(ConvertToYuv(&source, kBgr3, rgbFlags, nullptr, &destination, nullptr, kYuy2, 0, 0,
                           width, 1),
              S_OK);
    return yuv;
}

TEST(KnownValues, BlackAndWhiteOfBothRanges) {
    for (DWORD standard : {kYuvBt601, kYuvBt709}) {
        const Row yuv = {16, 128, 235, 128};
        EXPECT_EQ(ToBgra(yuv, kRgbFullRange, standard)[0], (Pixel{0, 0, 0, 255}));
        EXPECT_EQ(ToBgra(yuv, kRgbFullRange, standard)[1], (Pixel{255, 255, 255, 255}));
        EXPECT_EQ(ToBgra(yuv, kRgbStudioRange, standard)[0], (Pixel{16, 16, 16, 255}));
        EXPECT_EQ(ToBgra(yuv, kRgbStudioRange, standard)[1], (Pixel{235, 235, 235, 255}));
    }
}

TEST(KnownValues, ChannelsSaturateWithoutWrapping) {
    for (DWORD range : {kRgbFullRange, kRgbStudioRange}) {
        EXPECT_EQ(ToBgra({255, 255, 255, 255}, range)[0][2], 255);
        EXPECT_EQ(ToBgra({0, 0, 0, 0}, range)[0][0], 0);
    }
}

TEST(KnownValues, CodesOutsideTheNominalRangeAreNotClipped) {
    EXPECT_EQ(ToBgra({1, 128, 254, 128}, kRgbStudioRange)[0], (Pixel{1, 1, 1, 255}));
    EXPECT_EQ(ToBgra({1, 128, 254, 128}, kRgbStudioRange)[1], (Pixel{254, 254, 254, 255}));
}

TEST(KnownValues, AChromaEdgeShowsAHalfStepOnTheOddPixelBeforeItOnly) {
    const Row edge = {100, 128, 100, 60, 100, 128, 100, 60, 100, 128, 100, 200, 100, 128, 100, 200};
    const auto red = [](const Pixel& pixel) { return int{pixel[2]}; };
    const std::vector<Pixel> pixels = ToBgra(edge, kRgbStudioRange);
    const int low = red(pixels[0]);
    const int high = red(pixels[7]);
    EXPECT_EQ(red(pixels[1]), low);
    EXPECT_EQ(red(pixels[2]), low);
    EXPECT_NEAR(red(pixels[3]), (low + high) / 2.0, 1);
    for (std::size_t i = 4; i < 8; ++i) {
        EXPECT_EQ(red(pixels[i]), high) << i;
    }
}

TEST(KnownValues, ARowOfOnePairUsesItsOwnChroma) {
    const std::vector<Pixel> pixels = ToBgra({90, 77, 90, 201}, kRgbFullRange);
    EXPECT_EQ(pixels[0], pixels[1]);
}

TEST(KnownValues, NegativePitchFlipsThePictureAndNothingElse) {
    constexpr LONG kWidth = 22;
    constexpr LONG kHeight = 5;
    Picture source(RowBytes(kYuy2, kWidth), kHeight);
    FillContent(source, Content::kRandom, 77);
    Picture down(RowBytes(kBgr3, kWidth), kHeight);
    Picture up(RowBytes(kBgr3, kWidth), kHeight, {0, 2, true});
    for (Picture* destination : {&down, &up}) {
        ASSERT_EQ(ConvertFromYuv(source.plane(), nullptr, kYuy2, kYuvBt709, 0, destination->plane(),
                                 kBgr3, kRgbStudioRange, 0, kWidth, kHeight),
                  S_OK);
    }
    EXPECT_LT(up.Row(kHeight - 1), up.Row(0));
    EXPECT_TRUE(SameRows(down, up));
}

TEST(KnownValues, TheReverseKeepsTheEvenPixelsChroma) {
    const Row same = ToYuy2({10, 200, 60, 10, 200, 60}, kRgbStudioRange);
    const Row different = ToYuy2({10, 200, 60, 250, 20, 90}, kRgbStudioRange);
    EXPECT_EQ(different[0], same[0]);
    EXPECT_EQ(different[1], same[1]);
    EXPECT_EQ(different[3], same[3]);
    EXPECT_NE(different[2], same[2]);
}

TEST(KnownValues, StudioGreysGoBackToTheirLuma) {
    for (int grey = 0; grey < 256; ++grey) {
        const auto g = static_cast<BYTE>(grey);
        const Row yuv = ToYuy2({g, g, g, g, g, g}, kRgbStudioRange);
        EXPECT_EQ(yuv, (Row{g, 128, g, 128}));
    }
}

TEST(KnownValues, TenBitCopyOfAnEightBitPictureAgreesToOneCode) {
    constexpr LONG kWidth = 256;
    constexpr LONG kHeight = 8;
    Picture eight(RowBytes(kYuy2, kWidth), kHeight);
    Picture ten(RowBytes(kW210, kWidth), kHeight);
    FillContent(eight, Content::kRandom, 3);
    for (LONG y = 0; y < kHeight; ++y) {
        for (std::size_t i = 0; i < eight.rowBytes(); ++i) {
            ten.Row(y)[2 * i] = static_cast<BYTE>(eight.Row(y)[i] << 2);
            ten.Row(y)[2 * i + 1] = static_cast<BYTE>(eight.Row(y)[i] >> 6);
        }
    }
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            Picture fromEight(RowBytes(kBgr3, kWidth), kHeight);
            Picture fromTen(RowBytes(kBgr3, kWidth), kHeight);
            YuvToRgbRequest request{eight.plane(), nullptr, kYuy2, 0,      fromEight.plane(),
                                    kBgr3,         0,       range, matrix, kWidth,
                                    kHeight};
            ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
            request.source = ten.plane();
            request.sourceFourCC = kW210;
            request.destination = fromTen.plane();
            ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
            for (LONG y = 0; y < kHeight; ++y) {
                for (std::size_t i = 0; i < fromTen.rowBytes(); ++i) {
                    ASSERT_NEAR(fromEight.Row(y)[i], fromTen.Row(y)[i], 1);
                }
            }
        }
    }
}

TEST(KnownValues, DeepLayoutsWithoutAnAlphaPlaneAreOpaque) {
    Picture source(RowBytes(kYuy2, 8), 1);
    FillContent(source, Content::kRandom, 9);
    for (DWORD rgb : kRgbFormats) {
        Picture out(RowBytes(rgb, 8), 1);
        ASSERT_EQ(
            ConvertFromYuv(source.plane(), nullptr, kYuy2, 0, 0, out.plane(), rgb, 1, 0, 8, 1),
            S_OK);
        const LONG bits = FindPixelFormat(rgb)->bitsPerChannel;
        for (int x = 0; x < 8; ++x) {
            EXPECT_EQ(reference::UnpackPixel(rgb, out.Row(0) + x * BytesPerPixel(rgb)).a,
                      (1 << bits) - 1);
        }
    }
}

}  // namespace
}  // namespace nyx::test
