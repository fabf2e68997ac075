#include "convert/formats.h"

#include <gtest/gtest.h>

#include "tests/convert/pairs.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

TEST(Formats, OtherCodesHaveNoSize) {
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

}  // namespace
}  // namespace nyx::test
