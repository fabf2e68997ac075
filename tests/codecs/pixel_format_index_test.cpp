#include "codecs/pixel_format_index.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "platform/fourcc.h"
#include "tests/support/frames.h"

namespace nyx {
namespace {

using test::MakeHeader;

constexpr LONG kMin = std::numeric_limits<LONG>::min();
constexpr LONG kMax = std::numeric_limits<LONG>::max();

TEST(PixelFormatIndex, FollowsTheTable) {
    struct Case {
        const char* name;
        DWORD compression;
        WORD bits;
        // [high, standard definition] x [color_space 0, 1] x [stream alpha off, on]
        int index[8];
        int askedAlphaAdds;
        LONG bytes;
    };
    const Case cases[] = {
        {"YUY2", FourCC("YUY2"), 16, {0, 0, 0, 0, 0, 0, 0, 0}, 0, 2},
        {"RGB24", BI_RGB, 24, {1, 1, 2, 2, 3, 3, 4, 4}, 0, 3},
        {"RGB32", BI_RGB, 32, {5, 5, 6, 6, 7, 7, 8, 8}, 4, 4},
        {"v210", FourCC("v210"), 20, {13, 13, 13, 13, 13, 13, 13, 13}, 0, 2},
        {"v408", FourCC("v408"), 32, {14, 15, 14, 15, 14, 15, 14, 15}, 0, 4},
        {"r408", FourCC("r408"), 32, {16, 17, 16, 17, 16, 17, 16, 17}, 0, 4},
        {"b64a", FourCC("b64a"), 64, {18, 20, 18, 20, 19, 21, 19, 21}, 0, 8},
        {"r4fl", FourCC("r4fl"), 128, {22, 23, 22, 23, 22, 23, 22, 23}, 0, 16},
        {"2vuy", FourCC("2vuy"), 16, {24, 25, 24, 25, 24, 25, 24, 25}, 0, 2},
    };
    for (const Case& c : cases) {
        for (int i = 0; i < 16; ++i) {
            const bool standard = (i & 4) != 0;
            const LONG colorSpace = (i & 2) != 0 ? 7 : 0;
            const bool asked = (i & 8) != 0;
            const BITMAPINFOHEADER header =
                MakeHeader(c.compression, c.bits, 1280, standard ? -719 : -720);
            SurfaceFormat surface = {};
            ASSERT_EQ(DescribeSurface({&header, 960, (i & 1) != 0, asked, colorSpace, nullptr, 0},
                                      &surface),
                      S_OK);
            EXPECT_EQ(surface.index, c.index[i & 7] + (asked ? c.askedAlphaAdds : 0))
                << c.name << i;
            EXPECT_EQ(surface.bytesPerPixel, c.bytes) << c.name;
        }
    }
}

TEST(PixelFormatIndex, TheStreamsWidthTellsTheDefinition) {
    const BITMAPINFOHEADER wide = MakeHeader(BI_RGB, 24, 960, 720);
    for (const LONG streamWidth : {958, 960}) {
        SurfaceFormat surface = {};
        ASSERT_EQ(DescribeSurface({&wide, streamWidth, false, false, 0, nullptr, 0}, &surface),
                  S_OK);
        EXPECT_EQ(surface.index, streamWidth < 960 ? 3 : 1);
    }
}

TEST(PixelFormatIndex, OtherFormatsHaveNone) {
    SurfaceFormat surface = {};
    for (const BITMAPINFOHEADER& header :
         {MakeHeader(BI_RGB, 16, 8, 8), MakeHeader(BI_RGB, 8, 8, 8),
          MakeHeader(FourCC("UYVY"), 16, 8, 8)}) {
        EXPECT_EQ(DescribeSurface({&header, 8, false, false, 0, nullptr, 0}, &surface), E_FAIL);
        EXPECT_EQ(SurfaceSize(header), 0u);
    }
}

TEST(PixelFormatIndex, HighDefinitionNeedsBothSides) {
    EXPECT_TRUE(IsHighDefinition(960, 720));
    EXPECT_TRUE(IsHighDefinition(-960, -720));
    EXPECT_FALSE(IsHighDefinition(959, 720));
    EXPECT_FALSE(IsHighDefinition(960, 719));
    EXPECT_TRUE(IsHighDefinition(kMin, kMin));
    const ConversionFlags full = ConversionFlagsFor(1920, -1080, 0);
    EXPECT_EQ(full.yuv, 2u);
    EXPECT_EQ(full.rgb, 3u);
    const ConversionFlags studio = ConversionFlagsFor(720, 486, 1);
    EXPECT_EQ(studio.yuv, 0u);
    EXPECT_EQ(studio.rgb, 0u);
}

TEST(SurfaceGeometry, RgbIsBottomUpUnlessTheHeightOrTheCallerSaysOtherwise) {
    BYTE buffer[4 * 6 * 3];
    struct Case {
        DWORD compression;
        WORD bits;
        LONG height, callerStride, stride;
        std::ptrdiff_t start;
    };
    const Case cases[] = {
        {BI_RGB, 24, 3, 0, -18, 36},       {BI_RGB, 24, -3, 0, 18, 0},
        {BI_RGB, 24, 3, 20, 20, 0},        {BI_RGB, 24, 3, -20, -20, 0},
        {FourCC("YUY2"), 16, 3, 0, 12, 0}, {FourCC("YUY2"), 16, -3, 0, 12, 0},
    };
    for (const Case& c : cases) {
        const BITMAPINFOHEADER header = MakeHeader(c.compression, c.bits, 6, c.height);
        SurfaceFormat surface = {};
        ASSERT_EQ(DescribeSurface({&header, 6, false, false, 0, buffer, c.callerStride}, &surface),
                  S_OK);
        EXPECT_EQ(surface.stride, c.stride);
        EXPECT_EQ(surface.data - buffer, c.start);
        EXPECT_EQ(surface.height, 3);
        EXPECT_EQ(surface.width, 6);
    }
}

TEST(SurfaceGeometry, SizesThatDoNotFitAreRefused) {
    SurfaceFormat surface = {};
    for (const BITMAPINFOHEADER& header :
         {MakeHeader(BI_RGB, 32, 8, kMin), MakeHeader(BI_RGB, 32, kMax, 2),
          MakeHeader(BI_RGB, 32, kMin, -2), MakeHeader(BI_RGB, 24, 65536, 65536),
          MakeHeader(BI_RGB, 24, -10, 3), MakeHeader(FourCC("YUY2"), 16, -2, -2),
          MakeHeader(FourCC("r4fl"), 128, kMax, kMax)}) {
        EXPECT_EQ(DescribeSurface({&header, 8, false, false, 0, nullptr, 0}, &surface), E_FAIL);
    }
    EXPECT_EQ(SurfaceSize(MakeHeader(BI_RGB, 24, 10, -3)), 90u);
    EXPECT_EQ(SurfaceSize(MakeHeader(FourCC("r4fl"), 128, kMax, kMin)),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(SurfaceSize(MakeHeader(BI_RGB, 24, -10, 3)), 0u);
}

}  // namespace
}  // namespace nyx
