#include <gtest/gtest.h>

#include <cmath>

#include "dv/frame_description.h"
#include "tests/engines/open/open_engine.h"

namespace nyx::test {
namespace {

struct Kind {
    LONG encodeFlags;
    LONG decodeFlags;
    LONG width;
    LONG height;
    LONG frameBytes;
    const char* variant;
    const char* aspect;
};

constexpr Kind kKinds[] = {
    {0x51, 0x51, 720, 480, 120000, "DV25", "4:3"},
    {0x451, 0x51, 720, 480, 120000, "DV25", "16:9"},
    {0x52, 0x52, 720, 480, 120000, "DVCPRO25", "4:3"},
    {0x91, 0x91, 720, 576, 144000, "DV25", "4:3"},
    {0x492, 0x92, 720, 576, 144000, "DVCPRO25", "16:9"},
    {0x60, 0x60, 720, 480, 240000, "DVCPRO50", "4:3"},
    {0x4A0, 0xA0, 720, 576, 288000, "DVCPRO50", "16:9"},
    {0x472, 0x472, 1280, 1080, 480000, "DVCPRO HD 1080i", "16:9"},
    {0x4B2, 0x4B2, 1440, 1080, 576000, "DVCPRO HD 1080i", "16:9"},
    {0x475, 0x474, 960, 720, 240000, "DVCPRO HD 720p", "16:9"},
    {0x4B5, 0x4B4, 960, 720, 288000, "DVCPRO HD 720p", "16:9"},
};

struct Layout {
    LONG code;
    LONG bytesPerPixel;
};
constexpr Layout kLayouts[] = {{0, 2}, {4, 3}, {3, 4}};

/// Soft waves of all components, in any layout, which 4:1:1 and 4:2:0 can hold too.
void Paint(const GuardedPicture& picture, LONG width, LONG height, LONG bytesPerPixel) {
    std::vector<double> waves;
    for (LONG i = 0; i < width * bytesPerPixel; ++i) {
        // Of "YUY2" luma is one component, Cb and Cr are two.
        const LONG component = bytesPerPixel == 2 ? i % 2 * (1 + i / 2 % 2) : i % bytesPerPixel;
        waves.push_back(std::sin(i / bytesPerPixel / 40.0 + component));
    }
    for (LONG y = 0; y < height; ++y) {
        BYTE* row = const_cast<BYTE*>(picture.Row(y));
        const double across = std::cos(y / 30.0);
        for (std::size_t i = 0; i < waves.size(); ++i) {
            row[i] = static_cast<BYTE>(126 + 45 * (waves[i] + across));
        }
    }
}

TEST(OpenDvEncode, WhatIsEncodedIsRecognisedAndDecodesBack) {
    const OpenEngine engine(L"rkdvh.dll");
    const auto encode = engine.Get<DvEncodeEntry>("_dv_encode@24");
    const auto decode = engine.Get<DvDecodeEntry>("_dv_decode@24");
    for (const Kind& kind : kKinds) {
        for (const Layout& layout : kLayouts) {
            SCOPED_TRACE(testing::Message()
                         << std::hex << kind.encodeFlags << ", code " << layout.code);
            const GuardedPicture source(kind.width, kind.height, layout.bytesPerPixel, 8, true);
            Paint(source, kind.width, kind.height, layout.bytesPerPixel);
            const GuardedMemory frame(static_cast<std::size_t>(kind.frameBytes));
            ASSERT_EQ(encode(kind.encodeFlags, frame.data(), source.data(), source.stride(),
                             layout.bytesPerPixel, layout.code),
                      kind.frameBytes);
            const DvFrameDescription found = DescribeDvFrame(frame.data(), frame.size());
            EXPECT_TRUE(found.recognised);
            EXPECT_EQ(found.variant, kind.variant);
            EXPECT_EQ(found.pictureAspect, kind.aspect);

            const GuardedPicture back(kind.width, kind.height, layout.bytesPerPixel);
            ASSERT_EQ(decode(kind.decodeFlags, frame.data(), back.data(), back.stride(),
                             layout.bytesPerPixel, layout.code),
                      0);
            const auto step = static_cast<std::size_t>(layout.bytesPerPixel);
            for (std::size_t first = 0; first < std::min<std::size_t>(step, 3); ++first) {
                EXPECT_GT(Psnr(source.Pixels(), back.Pixels(), first, step), 38) << first;
            }
        }
    }
}

TEST(OpenDvEncode, RefusesCallsThatMakeNoSense) {
    const OpenEngine engine(L"rkdvh.dll");
    const auto encode = engine.Get<DvEncodeEntry>("_dv_encode@24");
    const GuardedPicture source(720, 480, 2);
    const GuardedPicture frame(720, 480, 2);
    EXPECT_LT(encode(0, frame.data(), source.data(), 1440, 2, 0), 0);
    EXPECT_LT(encode(0x51, frame.data(), source.data(), 1440, 3, 0), 0);
    EXPECT_LT(encode(0x51, frame.data(), source.data(), 1439, 2, 0), 0);
    EXPECT_LT(encode(0x51, frame.data(), source.data(), 1440, 2, 92), 0);
    EXPECT_TRUE(frame.IsUntouched());
}

}  // namespace
}  // namespace nyx::test
