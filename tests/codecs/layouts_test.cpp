/// Uncompressed layouts: which index and geometry a picture has, what every packed layout's writers
/// and readers make of samples, what clears a transparent pixel; chunks and tables by frame size.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "codecs/frame_chunks.h"
#include "codecs/matte.h"
#include "codecs/row_callbacks.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/working_rows.h"
#include "tests/codecs/converted.h"
#include "tests/support/frames.h"
#include "tests/support/guard.h"

namespace nyx {
namespace {

using namespace test;

constexpr LONG kMin = std::numeric_limits<LONG>::min();
constexpr LONG kMax = std::numeric_limits<LONG>::max();
constexpr BYTE kGuard = 0xA5;
using Words = std::vector<WORD>;

TEST(Surfaces, HaveTheIndexOfTheTable) {
    const struct {
        DWORD compression;
        WORD bits;
        LONG bytes;
        int index[8];  // 4 for standard definition + 2 for a color_space + 1 for a stream's alpha
        int askedAlphaAdds;
    } rows[] = {
        {kYuy2, 16, 2, {0, 0, 0, 0, 0, 0, 0, 0}, 0},
        {BI_RGB, 24, 3, {1, 1, 2, 2, 3, 3, 4, 4}, 0},
        {BI_RGB, 32, 4, {5, 5, 6, 6, 7, 7, 8, 8}, 4},
        {FourCC("v210"), 20, 2, {13, 13, 13, 13, 13, 13, 13, 13}, 0},
        {FourCC("v408"), 32, 4, {14, 15, 14, 15, 14, 15, 14, 15}, 0},
        {FourCC("r408"), 32, 4, {16, 17, 16, 17, 16, 17, 16, 17}, 0},
        {FourCC("b64a"), 64, 8, {18, 20, 18, 20, 19, 21, 19, 21}, 0},
        {FourCC("r4fl"), 128, 16, {22, 23, 22, 23, 22, 23, 22, 23}, 0},
        {FourCC("2vuy"), 16, 2, {24, 25, 24, 25, 24, 25, 24, 25}, 0},
    };
    for (const auto& row : rows) {
        for (int i = 0; i < 32; ++i) {
            // High definition takes the stream's width and the picture's height.
            const LONG width = i & 16 ? 959 : 960, height = i & 4 ? -719 : -720;
            const bool standard = (i & 20) != 0, alpha = (i & 1) != 0, asked = (i & 8) != 0;
            const LONG colorSpace = i & 2 ? 7 : 0;
            const BITMAPINFOHEADER header = MakeHeader(row.compression, row.bits, 1280, height);
            SurfaceFormat surface = {};
            ASSERT_EQ(
                DescribeSurface({&header, width, alpha, asked, colorSpace, nullptr, 0}, &surface),
                S_OK);
            EXPECT_EQ(surface.index, row.index[(i & 3) + 4 * standard] + asked * row.askedAlphaAdds)
                << row.bits << " case " << i;
            EXPECT_EQ(surface.bytesPerPixel, row.bytes);
            const ConversionFlags flags = ConversionFlagsFor(-width, height, colorSpace);
            EXPECT_EQ(flags.yuv, standard ? 0u : 2u);
            EXPECT_EQ(flags.rgb, flags.yuv + (colorSpace == 0));
        }
    }
}

TEST(Surfaces, AreBottomUpForRgbAloneAndRefusedWhereTheyDoNotFit) {
    const struct {
        BITMAPINFOHEADER header;
        LONG callerStride, stride, start;  // a stride of 0: refused
        std::uint64_t size;
    } rows[] = {
        {MakeHeader(BI_RGB, 24, 6, 3), 0, -18, 36, 54},
        {MakeHeader(BI_RGB, 24, 6, -3), 0, 18, 0, 54},
        {MakeHeader(BI_RGB, 24, 6, 3), 20, 20, 0, 54},
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
        EXPECT_EQ(
            DescribeSurface({&row.header, 6, false, false, 0, buffer, row.callerStride}, &surface),
            row.stride != 0 ? S_OK : E_FAIL);
        EXPECT_EQ(surface.data ? surface.data - buffer : 0, row.start);
        EXPECT_EQ(std::tuple(surface.stride, surface.height, SurfaceSize(row.header)),
                  std::tuple(row.stride, row.stride != 0 ? 3 : 0, row.size));
    }
    EXPECT_TRUE(IsHighDefinition(kMin, kMin));
}

BYTE* Address(Words& words) {
    return reinterpret_cast<BYTE*>(words.data());
}

/// A pixel pair in 8-bit codes: lumas, Cb, Cr, alphas.
using Pair = std::array<double, 6>;

Pair BlockPair(const BYTE* row, LONG x) {
    const BYTE* chroma = row + 16 + x / 2;
    return {1.0 * row[x],    1.0 * row[x + 1],   1.0 * chroma[8],
            1.0 * chroma[0], 1.0 * row[512 + x], 1.0 * row[513 + x]};
}

/// What a layout stores of a pair; `order` has a digit for each value's place in the pair.
std::vector<double> Stored(PackedLayout layout, const std::string& order, bool weighed, Pair p) {
    constexpr double k = 0.003921569;
    const bool floats = layout == PackedLayout::kR4fl;
    for (std::size_t i = 0; weighed && i < 4; ++i) {
        const double zero = i < 2 ? 16 : 128;
        const double sum = (p[i] - zero) * p[i == 1 ? 5 : 4] + zero * 255;
        p[i] = floats ? sum / 255 : std::floor((sum + 127) / 255);
    }
    std::vector<double> stored;
    for (const char place : order) {
        const double code = p[static_cast<std::size_t>(place - '0')];
        const bool luma = place<'2', alpha = place> '3';
        const bool rebased = luma && layout == PackedLayout::kR408;
        const bool studio = alpha && layout == PackedLayout::kV408;
        stored.push_back(floats && luma    ? std::clamp((code - 16) * k, -0.0627451, 0.9372549)
                         : floats && alpha ? code / 255
                         : floats          ? std::min(code * k, 1.0)
                         : rebased         ? std::max(code - 16, 0.0)
                         : studio          ? std::floor((code * 219 + 127) / 255) + 16
                                           : code);
    }
    return stored;
}

enum Kind { kOpaque, kStraight, kPremultiplied };

/// A block through the routines of a layout, bottom-up: by the formulas, the same when it was read
/// and written again, within what rounded alpha allows, and nothing else touched.
template <PackedLayout kLayout, Kind kKind>
void CheckBlock(const Bytes& block, const std::string& order, LONG width, LONG rows) {
    SCOPED_TRACE(testing::Message() << order << " kind " << kKind << " width " << width);
    constexpr AlphaUse kUse = kKind == kStraight ? AlphaUse::kStraight : AlphaUse::kPremultiplied;
    constexpr bool kFloats = kLayout == PackedLayout::kR4fl;
    const LONG pairBytes = static_cast<LONG>(order.size()) * (kFloats ? 4 : 1);
    const LONG pairs = std::clamp<LONG>(width / 2, 0, 8), pitch = pairs * pairBytes + 8;
    Bytes picture(static_cast<std::size_t>(16 * pitch), kGuard), again = picture, back(1024);
    const LONG last = std::max<LONG>(rows - 1, 0) * pitch;
    BYTE *to = picture.data() + last, *next = again.data() + last;
    if constexpr (kKind == kOpaque) {
        WriteCoreBlock<kLayout>(to, -pitch, block.data(), width, rows);
        ReadCoreBlock<kLayout>(to, -pitch, back.data(), width, rows);
        ASSERT_EQ(Bytes(back.begin() + 512, back.end()), Bytes(512));
        WriteCoreBlock<kLayout>(next, -pitch, back.data(), width, rows);
    } else {
        WriteAlphaBlock<kLayout, kUse>(to, -pitch, 5, 6, block.data(), width, rows);
        ReadAlphaBlock<kLayout, kUse>(to, -pitch, 5, 6, back.data(), width, rows);
        WriteAlphaBlock<kLayout, kUse>(next, -pitch, 5, 6, back.data(), width, rows);
    }
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const bool lossy = kLayout == PackedLayout::kV408 && kKind == kPremultiplied;
        ASSERT_NEAR(picture[i], again[i], lossy ? 1 : 0) << i;
    }
    for (LONG i = 0; i < rows * pairs; ++i) {
        BYTE* at = &picture[static_cast<std::size_t>(i / pairs * pitch + i % pairs * pairBytes)];
        Pair pair =
            BlockPair(&block[static_cast<std::size_t>(32 * (rows - 1 - i / pairs))], i % pairs * 2);
        if (kKind == kOpaque) {
            pair[4] = pair[5] = 255;
        }
        for (const double value : Stored(
                 kLayout, order, kKind == kPremultiplied || kLayout == PackedLayout::k2vuy, pair)) {
            float stored = *at;
            if (kFloats) {
                std::memcpy(&stored, at, sizeof(stored));
            }
            ASSERT_NEAR(stored, value, kFloats ? 2e-7 : 0) << i;
            at = std::fill_n(at, kFloats ? 4 : 1, kGuard);
        }
    }
    ASSERT_EQ(picture, Bytes(picture.size(), kGuard));
}

template <PackedLayout kLayout, int kIndex>
void CheckBlocks(const std::string& order) {
    for (int alpha = 0; alpha < 256; ++alpha) {
        Bytes block(1024);
        for (std::size_t i = 0; i < 512; ++i) {  // every luma and chroma, alpha and its complement
            const std::size_t low =
                i % 32 < 16 ? i % 16 : i % 8 * 2 + static_cast<std::size_t>(alpha % 2);
            block[i] = static_cast<BYTE>(i / 32 * 16 + low);
            block[i] = static_cast<BYTE>(i % 32 < 24 ? block[i] : ~block[i]);
            block[512 + i] = static_cast<BYTE>((i + i / 32) % 2 == 0 ? alpha : 255 - alpha);
        }
        const bool whole = alpha % 3 != 0;
        const LONG width = whole ? 16 : alpha / 3 % 20 - 1, rows = whole ? 16 : alpha / 3 % 18 - 1;
        CheckBlock<kLayout, kOpaque>(block, order, width, rows);
        CheckBlock<kLayout, kStraight>(block, order, width, rows);
        CheckBlock<kLayout, kPremultiplied>(block, order, width, rows);
        ASSERT_FALSE(testing::Test::HasFatalFailure());
    }
    constexpr AlphaUse kWeighed =
        KeepsAlpha(kIndex + 1) ? AlphaUse::kPremultiplied : AlphaUse::kStraight;
    for (const LONG width : {-1, 1, 15, 32}) {  // clear rows, which may be wider than blocks
        Words filled(600, 7), expected = filled, zeros(64), back(64, 7);
        FillTransparent<kLayout>(Address(filled), 600, 5, 6, width, 2);
        WriteWorkingRows<kIndex + 1, kWeighed>(Address(expected), 600, Address(zeros), 0,
                                               Address(zeros), 0, width, 2);
        EXPECT_EQ(filled, expected);
        ReadWorkingRows<kIndex, kWeighed>(Address(filled), 600, Address(back), 64, nullptr, 0,
                                          std::min<LONG>(width, 15), 2);
        for (LONG i = 0; i < 64; ++i) {
            const bool read = i % 32 < std::max<LONG>(std::min<LONG>(width, 15) / 2 * 4, 0);
            EXPECT_EQ(back[static_cast<std::size_t>(i)], !read ? 7 : i % 2 == 0 ? 64 : 512);
        }
    }
}

TEST(PackedLayouts, AreStoredByTheFormulasForAllSamplesAlphasAndWidths) {
    CheckBlocks<PackedLayout::k2vuy, 24>("2031");
    CheckBlocks<PackedLayout::kV408, 14>("20342135");
    CheckBlocks<PackedLayout::kR408, 16>("40235123");
    CheckBlocks<PackedLayout::kR4fl, 22>("40235123");
}

TEST(PackedLayouts, ReadWhatNoWriterStoresByClampingAndTakeChromaFromTheEvenPixel) {
    const float wild[] = {1e30f, std::nanf(""), -1, 2, std::nanf(""), 2, 9, 9};
    const auto* floats = reinterpret_cast<const BYTE*>(wild);
    const BYTE v408[] = {7, 1, 8, 3, 9, 2, 9, 240}, r408[] = {5, 0, 7, 8, 6, 250, 9, 9};
    const BYTE bright[] = {1, 200, 255, 0, 0, 9, 9, 9};
    using Use = AlphaUse;
    const struct {
        void (*read)(const BYTE*, LONG, DWORD, DWORD, BYTE*, LONG, LONG);
        const BYTE* picture;
        Pair expected;
    } rows[] = {
        {ReadAlphaBlock<PackedLayout::k2vuy, Use::kStraight>, v408, {1, 3, 7, 8, 255, 255}},
        {ReadAlphaBlock<PackedLayout::kV408, Use::kStraight>, v408, {1, 2, 7, 8, 0, 255}},
        {ReadAlphaBlock<PackedLayout::kR408, Use::kStraight>, r408, {16, 255, 7, 8, 5, 6}},
        {ReadAlphaBlock<PackedLayout::kR408, Use::kPremultiplied>, bright, {255, 16, 255, 0, 1, 0}},
        {ReadAlphaBlock<PackedLayout::kR4fl, Use::kStraight>, floats, {0, 255, 0, 255, 255, 0}},
        {ReadAlphaBlock<PackedLayout::kR4fl, Use::kPremultiplied>,
         floats,
         {0, 16, 128, 128, 255, 0}},
    };
    for (const auto& row : rows) {
        BYTE block[1024] = {};
        row.read(row.picture, 0, 5, 6, block, 2, 1);
        EXPECT_EQ(BlockPair(block, 0), row.expected) << &row - rows;
    }
}

/// "b64a" is what the conversion library makes with a matrix, big-endian, with the row's alpha.
template <int kIndex, AlphaUse kUse>
void CheckDeepRgb(DWORD matrix) {
    constexpr LONG kWidth = 67, kEven = 66;  // more than a strip
    Words words, alpha, picture(4 * kWidth), expected = picture, read(4 * kWidth), readAlpha = read;
    for (LONG i = 0; i < 2 * kEven; ++i) {
        words.push_back(static_cast<WORD>(460 + i * 37 % 100));
        alpha.push_back(static_cast<WORD>(i % 16 == 0 ? 1023 : 400 + i * 71 % 600));
    }
    const Bytes rgb = Converted(Bytes(Address(words), Address(words) + 4 * kEven), FourCC("W210"),
                                FourCC("A46L"), kEven, 1, matrix + 1);
    std::memcpy(expected.data(), rgb.data(), rgb.size());
    for (std::size_t i = 0; i < rgb.size() / 2; ++i) {
        const DWORD wide = (kIndex < 20 ? 1023 : alpha[i / 4]) * 65535u / 1023;
        const DWORD weight = kUse == AlphaUse::kPremultiplied ? wide : 65535;
        const DWORD word = i % 4 == 0 ? wide : (expected[i] * weight + 32767) / 65535;
        expected[i] = static_cast<WORD>(word >> 8 | (word & 255) << 8);
    }
    WriteWorkingRows<kIndex, kUse>(Address(picture), 0, Address(words), 0, Address(alpha), 0,
                                   kWidth, 1);
    EXPECT_EQ(picture, expected);
    ReadWorkingRows<kIndex, kUse>(Address(picture), 0, Address(read), 0, Address(readAlpha), 0,
                                  kWidth, 1);
    for (std::size_t i = 0; i < words.size(); ++i) {
        ASSERT_NEAR(read[i], words[i], 1);
        ASSERT_EQ(readAlpha[i / 2], kIndex < 20 ? 1023 : alpha[i / 2]);
    }
}

TEST(WorkingRows, BecomeDeepRgbByTheMatrixOfTheirDefinition) {
    CheckDeepRgb<18, AlphaUse::kStraight>(2);
    CheckDeepRgb<19, AlphaUse::kPremultiplied>(0);
    CheckDeepRgb<20, AlphaUse::kPremultiplied>(2);
    CheckDeepRgb<21, AlphaUse::kStraight>(0);
}

TEST(WorkingRows, AreRoundedToBytesAndKeepTheirFractionsInFloats) {
    for (int value = 0; value < 1024; ++value) {
        const auto word = static_cast<WORD>(value);
        Words samples(4, word), alpha(2, word), back(4);
        BYTE bytes[8], floats[32];
        WriteWorkingRows<17, AlphaUse::kStraight>(bytes, 0, Address(samples), 0, Address(alpha), 0,
                                                  2, 1);
        EXPECT_EQ(bytes[0], (value * 255 + 511) / 1023);
        EXPECT_EQ(bytes[2], std::min((value + 2) / 4, 255)) << value;
        WriteWorkingRows<23, AlphaUse::kStraight>(floats, 0, Address(samples), 0, nullptr, 0, 2, 1);
        ReadWorkingRows<23, AlphaUse::kPremultiplied>(floats, 0, Address(back), 0, Address(alpha),
                                                      0, 2, 1);
        EXPECT_EQ(back, Words(4, std::min<WORD>(word, 1020)));
        EXPECT_EQ(alpha, Words(2, 1023)) << "opaque without a plane";
    }
    // An opaque picture is read without its alpha, a clear pixel as black.
    Words pixels(8), samples(4), alpha(2);
    constexpr WorkingRowsReader* kLast = &ReadWorkingRows<20, AlphaUse::kPremultiplied>;
    for (WorkingRowsReader* const read : {&ReadWorkingRows<16, AlphaUse::kPremultiplied>,
                                          &ReadWorkingRows<18, AlphaUse::kPremultiplied>, kLast}) {
        read(Address(pixels), 0, Address(samples), 0, Address(alpha), 0, 2, 1);
        EXPECT_EQ(samples[0], 64);
        EXPECT_EQ(alpha[0], read == kLast ? 0 : 1023);
    }
}

TEST(WorkingRows, KeepV210SamplesAsTheyAreIfTheRowFits) {
    for (LONG width = 2; width <= 50; width += 2) {
        const TenBitPicture picture = RandomTenBitPicture(width, 1, 3);
        Words words, back(picture.samples.size()), alpha(back.size() / 2);
        for (std::size_t i = 0; i < back.size(); ++i) {
            words.push_back(picture.samples[i ^ 1]);
        }
        const LONG filled = (width + 5) / 6 * 16;
        for (const LONG stride : {filled, -filled, LONG{0}, filled - 1}) {
            const Bytes frame = Q210Frame(picture, 0);
            Bytes packed(frame.size());
            WriteWorkingRows<13, AlphaUse::kStraight>(packed.data(), stride, Address(words), 0,
                                                      nullptr, 0, width, 1);
            EXPECT_EQ(packed, std::abs(stride) < filled ? Bytes(frame.size()) : frame);
            ReadWorkingRows<13, AlphaUse::kStraight>(packed.data(), stride, Address(back), 0,
                                                     Address(alpha), 0, width, 1);
            EXPECT_EQ(std::pair(back, alpha), std::pair(words, Words(alpha.size(), 1023)));
        }
    }
}

TEST(Matte, TurnsTransparentPixelsIntoTheBlackOfTheirLayout) {
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
            Pixel picture, expected;
            for (const Pixel* pixel :
                 {&row.clear, &row.visible, &row.clear, &row.visible, &row.clear}) {
                picture.insert(picture.end(), pixel->begin(), pixel->end());
            }
            for (const Pixel* pixel :
                 {&row.black, &row.visible, &row.clear, &row.visible, &row.black}) {
                expected.insert(expected.end(), pixel->begin(), pixel->end());
            }
            auto* const last = reinterpret_cast<BYTE*>(&picture[3 * row.clear.size()]);
            CleanMatte({index, bytes, last, -3 * bytes, 2, 2});
            EXPECT_EQ(picture, expected) << index;
        }
    }
}

/// What a codec tells of a frame, in memory that ends with it.
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

TEST(FrameInfo, ComesFromTheContainerAloneAtEveryCut) {
    const Bytes field = Chunk("FIEL", {0}), other = Chunk("ABCD", {1, 2});
    const Bytes frame =
        InfoChunk(10, 20, 30, 40, field + other + Chunk("RDRT", {7, 8}) + Chunk("FIEL", {2})) +
        Bytes(9, 0xEE);
    for (std::size_t size = 0; size <= frame.size(); ++size) {
        const Bytes cut(frame.begin(), frame.begin() + static_cast<LONG>(size));
        const bool told = size >= 24;
        const FrameInfo info = InfoOf(cut, 720, 576, 400000, told ? S_OK : S_FALSE);
        const FrameInfo expected = {size < 36,         told ? 30 : 768, told ? 40 : 720,
                                    told ? 10 : -1,    told ? 20 : -1,  size < 68 ? -1 : 7,
                                    size < 68 ? -1 : 8};
        EXPECT_EQ(std::memcmp(&info, &expected, sizeof(info)), 0) << size;
        const ByteSpan coded = SkipInfoChunk(ByteSpan(cut.data(), size));
        ASSERT_EQ(coded.size(), size < 4 ? size : size > 80 ? size - 80 : 0) << size;
    }
    Bytes huge = InfoChunk(0, 0, 1, 1, other), beyond = huge + field,
          lying = InfoChunk(0, 0, 1, 1, other + field);
    std::fill_n(&huge[4], 4, 0xFF);
    std::fill_n(&lying[28], 4, 0xFF);
    for (const Bytes& bytes : {huge, beyond, lying, InfoChunk(0, 0, 1, 1, Bytes(8) + field), field,
                               Bytes(40), InfoChunk(0, 0, 1, 1, Chunk("FIEL", {3}))}) {
        const bool bare = bytes[0] != 'I';
        EXPECT_EQ(InfoOf(bytes, 720, 576, 400000, bare ? S_FALSE : S_OK).fieldOrder, 1);
        EXPECT_EQ(SkipInfoChunk(ByteSpan(bytes.data(), bytes.size())).size(), bare ? bytes.size()
                                                                              : bytes == beyond
                                                                                  ? field.size()
                                                                                  : 0);
    }
}

TEST(FrameInfo, OfABareFrameIsTheUsualOfItsSize) {
    // width, height, aspect, field order at 29.97 and 25 frames a second
    constexpr LONG kSizes[][5] = {
        {1920, 1080, 1, 1, 0},   {1440, 1080, 1920, 1440, 0}, {1280, 1080, 1920, 1280, 0},
        {1280, 720, 1, 1, 2},    {960, 720, 1280, 960, 2},    {1024, 576, 1, 1, 1},
        {720, 576, 768, 720, 1}, {720, 486, 648, 720, 0},     {720, 480, 648, 720, 1},
        {856, 480, 1, 1, 1},     {704, 480, 648, 720, 2},     {704, 576, 768, 720, 2},
        {640, 480, 648, 640, 2}, {320, 240, 648, 640, 2},     {160, 120, 648, 640, 2},
        {352, 480, 648, 352, 2}, {352, 240, 648, 704, 2},     {352, 288, 768, 720, 2},
        {176, 144, 768, 720, 2}, {1280, 1024, 1, 1, 2},       {1280, 960, 1, 1, 2},
        {1080, 1920, 1, 1, 2},   {721, 576, 1, 1, 2},
    };
    for (const auto& [width, height, x, y, order] : kSizes) {
        for (const REFERENCE_TIME duration : {333666LL, 400000LL, 333667LL, (1LL << 32) + 400000}) {
            const FrameInfo info = InfoOf({}, width, height, duration, S_FALSE);
            const FrameInfo expected = {
                duration == 333666 || duration == 400000 ? order : 2, x, y, -1, -1, -1, -1};
            EXPECT_EQ(std::memcmp(&info, &expected, sizeof(info)), 0) << width << " x " << height;
        }
    }
}

}  // namespace
}  // namespace nyx
