/// Pictures as surfaces: geometry and size, and the clean black of transparent pixels. Frames by
/// the chunks in front of them; the offered types show the defaults.

#include <gtest/gtest.h>

#include <limits>

#include "codecs/frame_chunks.h"
#include "codecs/matte.h"
#include "codecs/pixel_format_index.h"
#include "codecs/ten_bit_codec.h"
#include "convert/formats.h"
#include "tests/support/frames.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

constexpr LONG kMin = std::numeric_limits<LONG>::min();
constexpr LONG kMax = std::numeric_limits<LONG>::max();

TEST(Surfaces, AreBottomUpForRgbOnlyAndRefusedWithoutIndexOrBeyond32Bits) {
    const struct {
        BITMAPINFOHEADER header;
        LONG callerStride, stride, start;  // a stride of 0: refused
        std::uint64_t size;
    } rows[] = {
        {MakeHeader(BI_RGB, 24, 6, 3), 0, -18, 36, 54},
        {MakeHeader(BI_RGB, 24, 6, 3), -20, -20, 0, 54},
        {MakeHeader(kYuy2, 16, 6, 3), 0, 12, 0, 36},
        {MakeHeader(BI_RGB, 16, 6, 3), 0, 0, 0, 0},
        {MakeHeader(FourCC("UYVY"), 16, 6, 3), 0, 0, 0, 0},
        {MakeHeader(BI_RGB, 24, -6, 3), 0, 0, 0, 0},
        {MakeHeader(kYuy2, 16, kMin, -3), 0, 0, 0, 0},
        {MakeHeader(BI_RGB, 32, 6, kMin), 0, 0, 0, 24ull << 31},
        {MakeHeader(BI_RGB, 32, 0, kMin), 0, 0, 0, 0},
        {MakeHeader(BI_RGB, 32, kMax, 3), 0, 0, 0, 12ull * kMax},
        {MakeHeader(BI_RGB, 32, 1 << 28, 3), 0, 0, 0, 3ull << 30},  // the start of the last row
        {MakeHeader(FourCC("r4fl"), 128, kMax, kMin), 0, 0, 0, ~0ull},
    };
    BYTE buffer[64];
    for (const auto& row : rows) {
        SurfaceFormat surface = {};
        SCOPED_TRACE(testing::Message() << row.header.biWidth << " x " << row.header.biHeight);
        EXPECT_EQ(DescribeSurface({.uncompressed = &row.header,
                                   .compressedWidth = 6,
                                   .data = buffer,
                                   .stride = row.callerStride},
                                  &surface),
                  row.stride != 0 ? S_OK : E_FAIL);
        EXPECT_EQ(surface.data ? surface.data - buffer : 0, row.start);
        EXPECT_EQ(std::tuple(surface.stride, surface.height, SurfaceSize(row.header)),
                  std::tuple(row.stride, row.stride != 0 ? 3 : 0, row.size));
    }
    EXPECT_TRUE(IsHighDefinition(kMin, kMin) && IsHighDefinition(960, -720));
    EXPECT_FALSE(IsHighDefinition(959, 720) || IsHighDefinition(960, -719));
}

TEST(Matte, ReplacesTransparentPixelsByTheBlackOfTheirLayout) {
    using Pixel = std::vector<DWORD>;
    const Pixel floatBlack = {0, 0, 0x3F008081, 0x3F008081};
    const struct {
        std::vector<int> indices;
        Pixel clear, black, visible;
    } rows[] = {
        {{5, 7, 9, 11}, {0x00030201}, {0}, {0x01000000}},
        {{6, 8, 10, 12}, {0}, {0x00101010}, {0xFF030201}},
        {{14, 15}, {0x10090909}, {0x10801080}, {0x11090909}},
        {{16, 17}, {0x09090900}, {0x80800000}, {0x09090901}},
        {{18, 19, 20, 21}, {0x02010000, 9}, {0, 0}, {0x02010100, 9}},
        {{22, 23}, {0x80000000, 1, 1, 1}, floatBlack, {1, 1, 1, 1}},
        {{22, 23}, {0x7FC00000, 1, 1, 1}, floatBlack, {0x7F800000, 1, 1, 1}},
        {{0, 13, 24, 25}, {0}, {0}, {1}},
    };
    for (const auto& row : rows) {
        for (const int index : row.indices) {
            // Bottom-up rows of two pixels, with a gap of one that looks transparent.
            const auto bytes = static_cast<LONG>(4 * row.clear.size());
            const auto rowsOf = [&row](const Pixel& shown) {
                Pixel pixels;
                for (const Pixel& pixel : {shown, row.visible, row.clear, row.visible, shown}) {
                    pixels.insert(pixels.end(), pixel.begin(), pixel.end());
                }
                return pixels;
            };
            Pixel picture = rowsOf(row.clear);
            auto* const last = reinterpret_cast<BYTE*>(&picture[3 * row.clear.size()]);
            CleanMatte({index, bytes, last, -3 * bytes, 2, 2});
            EXPECT_EQ(picture, rowsOf(row.black)) << index;
        }
    }
}

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

const Bytes kField = Chunk("FIEL", {0}), kOther = Chunk("ABCD", {1, 2});

TEST(FrameInfo, HasTheChunksThatAreWholeAtEveryCut) {
    const Bytes frame =
        InfoChunk(10, 20, 30, 40, kField + kOther + Chunk("RDRT", {7, 8}) + Chunk("FIEL", {2})) +
        Bytes(9, 0xEE);
    for (std::size_t size = 0; size <= frame.size(); ++size) {
        const Bytes cut(frame.begin(), frame.begin() + static_cast<LONG>(size));
        const bool hasInfo = size >= 24, hasRdrt = size >= 68;
        const FrameInfo info = InfoOf(cut, 720, 576, 400000, hasInfo ? S_OK : S_FALSE);
        const FrameInfo expected = {size < 36,         hasInfo ? 30 : 768, hasInfo ? 40 : 720,
                                    hasInfo ? 10 : -1, hasInfo ? 20 : -1,  hasRdrt ? 7 : -1,
                                    hasRdrt ? 8 : -1};
        EXPECT_EQ(std::memcmp(&info, &expected, sizeof(info)), 0) << size;
        const std::size_t coded = size > 80 ? size - 80 : 0;
        ASSERT_EQ(SkipInfoChunk(cut).size(), size < 4 ? size : coded) << size;
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
        EXPECT_EQ(SkipInfoChunk(bytes).size(), codedSize);
    }
}

}  // namespace
}  // namespace nyx::test
