/// A frame's description by the chunks in front of it. The offered types show the defaults.

#include <gtest/gtest.h>

#include "codecs/frame_chunks.h"
#include "codecs/ten_bit_codec.h"
#include "tests/support/frames.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

/// A codec's description of a frame, in memory that ends with the frame.
FrameInfo InfoOf(const Bytes& frame, LONG width, LONG height, REFERENCE_TIME duration,
                 HRESULT expected) {
    CTenBitCodec codec;
    const GuardedMemory memory(frame);
    const auto header = MakeHeader(FourCC("Q210"), 20, width, height, frame.size());
    FrameInfo info;
    EXPECT_EQ(codec.GetFrameInfo(&header, memory.data(), duration, &info), expected);
    EXPECT_EQ(codec.GetFrameInfo(&header, memory.data(), duration, nullptr), expected);
    EXPECT_EQ(codec.GetFrameInfo(nullptr, memory.data(), duration, &info), E_POINTER);
    return info;
}

std::size_t CodedSize(const Bytes& frame) {
    return SkipInfoChunk(frame).size();
}

bool operator==(const FrameInfo& left, const FrameInfo& right) {
    return std::memcmp(&left, &right, sizeof(left)) == 0;
}

const Bytes kField = Chunk("FIEL", {0}), kOther = Chunk("ABCD", {1, 2});

TEST(FrameInfo, HasTheChunksThatAreWholeAtEveryCut) {
    const Bytes frame =
        InfoChunk(10, 20, 30, 40, kField + kOther + Chunk("RDRT", {7, 8}) + Chunk("FIEL", {2})) +
        Bytes(9, 0xEE);
    for (std::size_t size = 0; size <= frame.size(); ++size) {
        const Bytes cut(frame.begin(), frame.begin() + static_cast<LONG>(size));
        const bool hasInfo = size >= 24, hasRdrt = size >= 68;
        EXPECT_TRUE(InfoOf(cut, 720, 576, 400000, hasInfo ? S_OK : S_FALSE) ==
                    (FrameInfo{.fieldOrder = size < 36,
                               .pixelAspectX = hasInfo ? 30 : 768,
                               .pixelAspectY = hasInfo ? 40 : 720,
                               .infoA = hasInfo ? 10 : -1,
                               .infoB = hasInfo ? 20 : -1,
                               .rdrtA = hasRdrt ? 7 : -1,
                               .rdrtB = hasRdrt ? 8 : -1}))
            << size;
        const std::size_t coded = size > 80 ? size - 80 : 0;
        ASSERT_EQ(CodedSize(cut), size < 4 ? size : coded) << size;
    }
}

TEST(FrameInfo, IgnoresChunksOfWrongSizesOrOutsideTheContainer) {
    Bytes huge = InfoChunk(0, 0, 1, 1, kOther), beyond = huge + kField,
          oversized = InfoChunk(0, 0, 1, 1, kOther + kField);
    std::fill_n(&huge[4], 4, 0xFF);
    std::fill_n(&oversized[28], 4, 0xFF);
    const std::tuple<Bytes, HRESULT, std::size_t> cases[] = {
        {huge, S_OK, 0},
        {beyond, S_OK, kField.size()},
        {oversized, S_OK, 0},
        {InfoChunk(0, 0, 1, 1, Bytes(8) + kField), S_OK, 0},
        {InfoChunk(0, 0, 1, 1, Chunk("FIEL", {3})), S_OK, 0},
        {kField, S_FALSE, kField.size()},
        {Bytes(40), S_FALSE, 40}};
    for (const auto& [bytes, result, codedSize] : cases) {
        EXPECT_EQ(InfoOf(bytes, 720, 576, 400000, result).fieldOrder, kBottomFieldFirst);
        EXPECT_EQ(CodedSize(bytes), codedSize);
    }
}

}  // namespace
}  // namespace nyx::test
