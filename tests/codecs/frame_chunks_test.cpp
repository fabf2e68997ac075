#include "codecs/frame_chunks.h"

#include <gtest/gtest.h>

#include "tests/support/frames.h"

namespace nyx {
namespace {

using test::Bytes;
using test::Chunk;
using test::InfoChunk;
using test::operator+;

/// An exact-size heap copy, so that a read past the end is seen by the sanitizer.
class ExactSpan {
  public:
    explicit ExactSpan(const Bytes& bytes) : bytes_(new BYTE[bytes.size()]), size_(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), bytes_.get());
    }
    operator ByteSpan() const { return {bytes_.get(), size_}; }

  private:
    std::unique_ptr<BYTE[]> bytes_;
    std::size_t size_;
};

TEST(FrameChunks, ReadsAllKnownChunksInAnyOrder) {
    const Bytes fiel = Chunk("FIEL", {1});
    const Bytes rdrt = Chunk("RDRT", {7, 8});
    const Bytes other = Chunk("ABCD", {1, 2, 3});
    for (const Bytes& subChunks : {other + fiel + rdrt, rdrt + other + fiel}) {
        const ExactSpan frame(InfoChunk(10, 20, 648, 720, subChunks) + Bytes(32, 0xEE));
        const FrameChunks chunks(frame);
        ASSERT_TRUE(chunks.Info() && chunks.Rdrt());
        EXPECT_EQ(chunks.Info()->infoB, 20);
        EXPECT_EQ(chunks.FieldCode(), 1u);
        EXPECT_EQ(chunks.Rdrt()->a, 7);
        EXPECT_EQ(chunks.Rdrt()->b, 8);
        EXPECT_EQ(SkipInfoChunk(frame).size(), 32u);
        EXPECT_EQ(SkipInfoChunk(frame).data()[0], 0xEE);
    }
}

TEST(FrameChunks, FirstMatchWinsAndAZeroTagEndsTheWalk) {
    const ExactSpan twice(InfoChunk(0, 0, 1, 1, Chunk("FIEL", {2}) + Chunk("FIEL", {0})));
    EXPECT_EQ(FrameChunks(twice).FieldCode(), 2u);
    const ExactSpan ended(InfoChunk(0, 0, 1, 1, Bytes(8, 0) + Chunk("FIEL", {0})));
    EXPECT_FALSE(FrameChunks(ended).FieldCode());
}

TEST(FrameChunks, NothingOutsideTheContainerCounts) {
    // The sub-chunk lies behind the container's end: it is already the coded frame.
    const ExactSpan frame(InfoChunk(0, 0, 1, 1) + Chunk("FIEL", {0}));
    EXPECT_FALSE(FrameChunks(frame).FieldCode());
    EXPECT_EQ(SkipInfoChunk(frame).size(), 12u);

    // A payload size that runs past the container ends the walk and is cut for a match.
    Bytes lying = InfoChunk(0, 0, 1, 1, Chunk("ABCD", {1}) + Chunk("FIEL", {0}));
    lying[24 + 4] = 0xFF;
    lying[24 + 7] = 0xFF;
    EXPECT_FALSE(FrameChunks(ExactSpan(lying)).FieldCode());
}

TEST(FrameChunks, AFrameWithoutContainerIsAllFrame) {
    for (const Bytes& bytes : {Bytes{}, Bytes{'I'}, Bytes{'I', 'N', 'F'}, Bytes(40, 1)}) {
        const ExactSpan frame(bytes);
        EXPECT_FALSE(FrameChunks(frame).Info());
        EXPECT_EQ(SkipInfoChunk(frame).size(), bytes.size());
    }
}

TEST(FrameChunks, EveryCutOfAFullContainerIsSafe) {
    const Bytes whole =
        InfoChunk(1, 2, 3, 4, Chunk("FIEL", {0}) + Chunk("RDRT", {5, 6})) + Bytes(4, 9);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const ExactSpan frame(Bytes(whole.begin(), whole.begin() + static_cast<LONG>(size)));
        const FrameChunks chunks(frame);
        EXPECT_EQ(chunks.Info().has_value(), size >= 24) << size;
        EXPECT_EQ(chunks.FieldCode().has_value(), size >= 36) << size;
        EXPECT_EQ(chunks.Rdrt().has_value(), size >= 52) << size;
        EXPECT_EQ(SkipInfoChunk(frame).size(), size < 4 ? size : size > 52 ? size - 52 : 0) << size;
    }
}

TEST(FrameChunks, HugeContainerSizesLeaveNoFrame) {
    for (const DWORD size : {0x7FFFFFFFu, 0xFFFFFFF8u, 0xFFFFFFFFu}) {
        Bytes bytes = InfoChunk(1, 2, 3, 4) + Bytes(16, 0);
        std::memcpy(&bytes[4], &size, 4);
        const ExactSpan frame(bytes);
        EXPECT_TRUE(SkipInfoChunk(frame).empty());
        EXPECT_TRUE(FrameChunks(frame).Info());
    }
}

}  // namespace
}  // namespace nyx
