#include "convert/formats.h"

#include <gtest/gtest.h>

#include <cstring>

#include "convert/convert.h"
#include "tests/convert/pairs.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

TEST(Formats, CodesAndSizesAreTheAgreedOnes) {
    struct Row {
        DWORD code;
        const char* name;
        LONG bytes;
    };
    constexpr Row kRows[] = {
        {0x32595559, "YUY2", 2}, {0x30313257, "W210", 4}, {0x33524742, "BGR3", 3},
        {0x33424752, "RGB3", 3}, {0x41524742, "BGRA", 4}, {0x41424752, "RGBA", 4},
        {0x42475241, "ARGB", 4}, {0x4c523834, "48RL", 6}, {0x4c413436, "64AL", 8},
        {0x4c363441, "A46L", 8}, {0x4134364c, "L64A", 8}, {0x4c523033, "30RL", 4},
        {0x4c413034, "40AL", 5}, {0x4c343041, "A04L", 5}, {0x4130344c, "L40A", 5},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(Name(row.code), row.name);
        EXPECT_EQ(BytesPerPixel(row.code), row.bytes) << row.name;
    }
    EXPECT_EQ(BytesPerPixel(FourCC("YV12")), 0);
    EXPECT_EQ(BytesPerPixel(0), 0);
}

/// The documented example pixels. The kernels are tested against the reference, so this fixes their
/// layouts as well.
TEST(Formats, DeepLayoutsAreAsDocumented) {
    struct Example {
        DWORD code;
        std::vector<BYTE> bytes;
    };
    const Example examples[] = {
        {k48rl, {0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A}},
        {k64al, {0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A, 0xF0, 0xDE}},
        {kA46l, {0xF0, 0xDE, 0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A}},
        {kL64a, {0xBC, 0x9A, 0x78, 0x56, 0x34, 0x12, 0xF0, 0xDE}},
        {k30rl, {0x23, 0x59, 0x99, 0x38}},
        {k40al, {0x23, 0x59, 0x99, 0x38, 0x2B}},
        {kA04l, {0xAC, 0x8C, 0x64, 0x65, 0xE2}},
        {kL40a, {0x89, 0x5B, 0x39, 0x12, 0x2B}},
    };
    for (const Example& example : examples) {
        const PixelFormat& format = *FindPixelFormat(example.code);
        const reference::Channels pixel = format.bitsPerChannel == 16
                                              ? reference::Channels{0x1234, 0x5678, 0x9ABC, 0xDEF0}
                                              : reference::Channels{0x123, 0x256, 0x389, 0x0AC};
        std::vector<BYTE> packed(static_cast<std::size_t>(format.bytesPerPixel));
        reference::PackPixel(example.code, pixel, packed.data());
        EXPECT_EQ(packed, example.bytes) << Name(example.code);
    }
}

TEST(Formats, ChannelsOfTheTableMatchTheLayouts) {
    for (DWORD code : kRgbFormats) {
        const PixelFormat& format = *FindPixelFormat(code);
        const std::size_t channels = std::strlen(format.channels);
        const LONG bits = format.bitsPerChannel * static_cast<LONG>(channels);
        EXPECT_EQ(format.bytesPerPixel, code == k30rl ? 4 : bits / 8) << Name(code);
        BYTE pixel[8] = {};
        reference::PackPixel(code, {1, 0, 0, 0}, pixel);
        const auto redAt = static_cast<LONG>(std::strchr(format.channels, 'R') - format.channels);
        EXPECT_EQ(pixel[redAt * format.bitsPerChannel / 8], 1 << redAt * format.bitsPerChannel % 8)
            << Name(code);
    }
}

}  // namespace
}  // namespace nyx::test
