#include "filters/nyx_util.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace nyx {
namespace {

TEST(FormatBlocks, AreFoundByTypeAndOnlyWhenWhole) {
    struct Case {
        const GUID* formatType;
        std::size_t size;
        std::ptrdiff_t header;  // -1: none
    };
    const Case cases[] = {
        {&FORMAT_VideoInfo2, 112, 72}, {&FORMAT_VideoInfo2, 200, 72}, {&FORMAT_VideoInfo2, 111, -1},
        {&FORMAT_VideoInfo2, 0, -1},   {&FORMAT_VideoInfo, 88, 48},   {&FORMAT_VideoInfo, 1064, 48},
        {&FORMAT_VideoInfo, 87, -1},   {&FORMAT_MPEG2Video, 200, -1}, {&GUID_NULL, 200, -1},
    };
    for (const Case& c : cases) {
        std::vector<BYTE> block(c.size + 1);
        AM_MEDIA_TYPE type = {};
        type.formattype = *c.formatType;
        type.cbFormat = static_cast<ULONG>(c.size);
        type.pbFormat = block.data();
        if (c.size > 40) {
            block[40] = 5;
        }
        const VideoFormat format = NyxUtil::FormatOf(type);
        EXPECT_EQ(format.averageFrameDuration, c.header < 0 ? 0 : 5) << c.size;
        const auto* header = reinterpret_cast<const BYTE*>(format.header);
        EXPECT_EQ(header ? header - block.data() : -1, c.header) << c.size;
        type.pbFormat = nullptr;
        EXPECT_EQ(NyxUtil::FormatOf(type).header, nullptr);
    }
}

TEST(PictureKinds, FollowBitCountAndSubtype) {
    struct Case {
        const GUID* subtype;
        PictureKind at16, at24, at32;
    };
    constexpr PictureKind kInvalid = PictureKind::kInvalid;
    constexpr PictureKind kOpaque = PictureKind::kOpaque;
    constexpr PictureKind kAlpha = PictureKind::kAlpha;
    const Case cases[] = {
        {&MEDIASUBTYPE_YUY2, kOpaque, kInvalid, kInvalid},
        {&MEDIASUBTYPE_RGB24, kInvalid, kOpaque, kInvalid},
        {&MEDIASUBTYPE_RGB32, kInvalid, kOpaque, kOpaque},
        {&MEDIASUBTYPE_ARGB32, kInvalid, kAlpha, kAlpha},
        {&MEDIASUBTYPE_RGB565, kInvalid, kInvalid, kInvalid},
        {&GUID_NULL, kInvalid, kInvalid, kInvalid},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(NyxUtil::ClassifyPicture(16, *c.subtype), c.at16);
        EXPECT_EQ(NyxUtil::ClassifyPicture(24, *c.subtype), c.at24);
        EXPECT_EQ(NyxUtil::ClassifyPicture(32, *c.subtype), c.at32);
        EXPECT_EQ(NyxUtil::ClassifyPicture(20, *c.subtype), kInvalid);
    }
}

TEST(InterlaceFlags, FollowTheFieldOrder) {
    EXPECT_EQ(NyxUtil::InterlaceFlags(0), 0xA5u);
    EXPECT_EQ(NyxUtil::InterlaceFlags(1), 0xA1u);
    for (const LONG other : {-1, 2, 3, 0x7FFFFFFF}) {
        EXPECT_EQ(NyxUtil::InterlaceFlags(other), 0u);
    }
}

}  // namespace
}  // namespace nyx
