#include <gtest/gtest.h>

#include "codecs/ten_bit_codec.h"
#include "tests/support/frames.h"

namespace nyx {
namespace {

using test::Bytes;
using test::Chunk;
using test::InfoChunk;
using test::operator+;

constexpr REFERENCE_TIME k2997 = 333666;
constexpr REFERENCE_TIME k25 = 400000;

struct Described {
    HRESULT result;
    FrameInfo info;
};

Described Describe(LONG width, LONG height, REFERENCE_TIME duration, const Bytes* frame = nullptr) {
    CTenBitCodec codec;
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biSizeImage = frame ? static_cast<DWORD>(frame->size()) : 123456;
    Described described = {};
    described.result =
        codec.GetFrameInfo(&header, frame ? frame->data() : nullptr, duration, &described.info);
    return described;
}

TEST(FrameInfo, SizesDecideWhereTheFrameTellsNothing) {
    struct Case {
        LONG width, height;
        REFERENCE_TIME duration;
        LONG fieldOrder, aspectX, aspectY;
    };
    const Case cases[] = {
        {1920, 1080, k2997, 0, 1, 1},
        {1920, 1080, 166833, 2, 1, 1},
        {1440, 1080, k25, 0, 1920, 1440},
        {1024, 576, k25, 1, 1, 1},
        {720, 576, k25, 1, 768, 720},
        {720, 576, k2997, 1, 768, 720},
        {720, 486, k2997, 0, 648, 720},
        {720, 480, k2997, 1, 648, 720},
        {720, 480, 333667, 2, 648, 720},
        {856, 480, k2997, 1, 1, 1},
        {1000, 1000, k25, 2, 1, 1},
        {352, 240, k2997, 2, 648, 704},
        {720, 480, (1LL << 32) + k2997, 2, 648, 720},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " " << c.duration);
        const Described d = Describe(c.width, c.height, c.duration);
        EXPECT_EQ(d.result, 1);
        EXPECT_EQ(d.info.fieldOrder, c.fieldOrder);
        EXPECT_EQ(d.info.pixelAspectX, c.aspectX);
        EXPECT_EQ(d.info.pixelAspectY, c.aspectY);
        EXPECT_EQ(d.info.infoA, -1);
        EXPECT_EQ(d.info.rdrtB, -1);
    }
}

TEST(FrameInfo, TheContainerDecidesWhatItHolds) {
    const Bytes plain = InfoChunk(5, 6, 10, 11);
    const Described fromTable = Describe(720, 480, k2997, &plain);
    EXPECT_EQ(fromTable.result, 0);
    EXPECT_EQ(fromTable.info.fieldOrder, 1);
    EXPECT_EQ(fromTable.info.pixelAspectX, 10);
    EXPECT_EQ(fromTable.info.pixelAspectY, 11);
    EXPECT_EQ(fromTable.info.infoA, 5);
    EXPECT_EQ(fromTable.info.infoB, 6);

    const Bytes full = InfoChunk(0, 0, 0, 0, Chunk("FIEL", {0}) + Chunk("RDRT", {8, 9}));
    const Described fromFrame = Describe(720, 480, k2997, &full);
    EXPECT_EQ(fromFrame.info.fieldOrder, 0);
    EXPECT_EQ(fromFrame.info.rdrtA, 8);
    EXPECT_EQ(fromFrame.info.rdrtB, 9);
    EXPECT_EQ(fromFrame.info.pixelAspectX, 0);

    for (const DWORD unknown : {3u, 0x80000000u, 0xFFFFFFFFu}) {
        const Bytes frame = InfoChunk(0, 0, 1, 1, Chunk("FIEL", {unknown}));
        EXPECT_EQ(Describe(720, 576, k25, &frame).info.fieldOrder, 1);
    }
}

TEST(FrameInfo, NullRecordStillAnswers) {
    CTenBitCodec codec;
    BITMAPINFOHEADER header = {};
    const Bytes frame = InfoChunk(0, 0, 1, 1);
    header.biSizeImage = static_cast<DWORD>(frame.size());
    EXPECT_EQ(codec.GetFrameInfo(&header, frame.data(), 0, nullptr), 0);
    EXPECT_EQ(codec.GetFrameInfo(&header, nullptr, 0, nullptr), 1);
    EXPECT_EQ(codec.GetFrameInfo(nullptr, nullptr, 0, nullptr), E_POINTER);
}

}  // namespace
}  // namespace nyx
