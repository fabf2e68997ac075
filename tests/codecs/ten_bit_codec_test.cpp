#include "codecs/ten_bit_codec.h"

#include <gtest/gtest.h>

#include "platform/fourcc.h"
#include "tests/support/frames.h"

namespace nyx {
namespace {

using test::MakeHeader;

constexpr DWORD kYuy2 = FourCC("YUY2");

BITMAPINFOHEADER TenBitHeader(LONG width, LONG height) {
    return MakeHeader(FourCC("Q210"), 20, width, height);
}

TEST(TenBitQueries, FollowTheRulesInBothDirections) {
    CTenBitCodec codec;
    struct Case {
        const char* name;
        BITMAPINFOHEADER stream, picture;
        bool alpha, decodes, encodes;
    };
    const BITMAPINFOHEADER stream = TenBitHeader(720, 486);
    const BITMAPINFOHEADER rgb24 = MakeHeader(BI_RGB, 24, 720, 486);
    const Case cases[] = {
        {"yuy2", stream, MakeHeader(kYuy2, 16, 720, 486), false, true, true},
        {"rgb24", stream, rgb24, false, true, true},
        {"rgb24 with alpha", stream, rgb24, true, false, true},
        {"rgb32", stream, MakeHeader(BI_RGB, 32, 720, 486), false, true, false},
        {"rgb32 with alpha", stream, MakeHeader(BI_RGB, 32, 720, 486), true, false, false},
        {"rgb16", stream, MakeHeader(BI_RGB, 16, 720, 486), false, false, false},
        {"yuy2 of 24 bits", stream, MakeHeader(kYuy2, 24, 720, 486), false, false, false},
        {"uyvy", stream, MakeHeader(FourCC("UYVY"), 16, 720, 486), false, false, false},
        {"top-down", stream, MakeHeader(BI_RGB, 24, 720, -486), false, true, true},
        {"wider", stream, MakeHeader(BI_RGB, 24, 768, 486), false, true, false},
        {"narrower", stream, MakeHeader(BI_RGB, 24, 718, 486), false, false, false},
        {"other height", stream, MakeHeader(BI_RGB, 24, 720, 480), false, false, false},
        {"odd width", TenBitHeader(719, 486), MakeHeader(BI_RGB, 24, 719, 486), false, false,
         false},
        {"no width", TenBitHeader(0, 486), MakeHeader(BI_RGB, 24, 0, 486), false, false, false},
        {"no height", TenBitHeader(720, 0), MakeHeader(BI_RGB, 24, 720, 0), false, false, false},
        {"top-down stream", TenBitHeader(720, -486), rgb24, false, false, false},
        {"v210", MakeHeader(FourCC("v210"), 20, 720, 486), rgb24, false, false, false},
        {"24 bits", MakeHeader(FourCC("Q210"), 24, 720, 486), rgb24, false, false, false},
        {"too large", TenBitHeader(0x7FFFFFFE, 0x7FFFFFFF),
         MakeHeader(BI_RGB, 24, 0x7FFFFFFE, 0x7FFFFFFF), false, false, false},
    };
    const auto answer = [](bool accepted) { return accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED; };
    for (const Case& c : cases) {
        EXPECT_EQ(codec.DecompressQuery(&c.stream, &c.picture, c.alpha), answer(c.decodes))
            << c.name;
        EXPECT_EQ(codec.CompressQuery(&c.picture, c.alpha, &c.stream), answer(c.encodes)) << c.name;
    }
    EXPECT_EQ(codec.DecompressQuery(&stream, nullptr, false), S_OK);
    EXPECT_EQ(codec.DecompressQuery(nullptr, &rgb24, false), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.CompressQuery(&rgb24, false, nullptr), S_OK);
    EXPECT_EQ(codec.CompressQuery(nullptr, false, &stream), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.GetMaxCompressedSize(&rgb24, false), 15u * 486 * 128 + 1064);
}

}  // namespace
}  // namespace nyx
