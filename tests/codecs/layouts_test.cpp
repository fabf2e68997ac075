/// Uncompressed layouts: which index and geometry a picture has, what every packed layout's writers
/// and readers make of samples, what clears a transparent pixel; chunks and tables by frame size.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "codecs/frame_chunks.h"
#include "codecs/frame_size_tables.h"
#include "codecs/matte.h"
#include "codecs/row_callbacks.h"
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
constexpr WORD kUnread = 0xA5A5;
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
            DescribeSurface({&header, width, alpha, asked, colorSpace, nullptr, 0}, &surface);
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
        {MakeHeader(kYuy2, 16, 6, -3), 0, 12, 0, 36},
        {MakeHeader(BI_RGB, 16, 6, 3), 0, 0, 0, 0},
        {MakeHeader(FourCC("UYVY"), 16, 6, 3), 0, 0, 0, 0},
        {MakeHeader(BI_RGB, 24, -6, 3), 0, 0, 0, 0},
        {MakeHeader(kYuy2, 16, kMin, -3), 0, 0, 0, 0},
        {MakeHeader(BI_RGB, 32, 6, kMin), 0, 0, 0, 24ull << 31},
        {MakeHeader(BI_RGB, 32, 0, kMin), 0, 0, 0, 0},
        {MakeHeader(BI_RGB, 32, kMax, 1), 0, 0, 0, 4ull * kMax},
        {MakeHeader(BI_RGB, 32, kMax, 3), 0, 0, 0, 12ull * kMax},
        {MakeHeader(BI_RGB, 24, 65536, 65536), 0, 0, 0, 3ull << 32},
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

Pair BlockPair(const BYTE* row, LONG x, bool opaque = false) {
    const BYTE* a = row + 512 + x;
    return {1.0 * row[x],          1.0 * row[x + 1],          1.0 * row[24 + x / 2],
            1.0 * row[16 + x / 2], opaque ? 255 : 1.0 * a[0], opaque ? 255 : 1.0 * a[1]};
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
        if (floats) {
            stored.push_back(alpha  ? code / 255
                             : luma ? std::clamp((code - 16) * k, -0.0627451, 0.9372549)
                                    : std::min(code * k, 1.0));
        } else if (alpha && layout == PackedLayout::kV408) {
            stored.push_back(std::floor((code * 219 + 127) / 255) + 16);
        } else {
            stored.push_back(luma && layout == PackedLayout::kR408 ? std::max(code - 16, 0.0)
                                                                   : code);
        }
    }
    return stored;
}

/// A block's picture, bottom-up, is what the same samples of 10 bits make as working rows of an
/// index, and is read as `back` is.
template <int kIndex, AlphaUse kUse>
void CheckRows(const Bytes& picture, LONG pitch, const Bytes& block, const Bytes& back, bool plane,
               LONG width, LONG rows) {
    Words working(512), alpha(256), read(512, kUnread), readAlpha(256, kUnread);
    Words expected = read, expectedAlpha = readAlpha;
    for (std::size_t i = 0; i < 256; ++i) {
        const std::size_t x = i % 16, row = i / 16 * 32, chroma = row + 24 - x % 2 * 8 + x / 2;
        const auto word =
            [i](int code) {  // all that are rounded to the code, where there is rounding
                const int low = code == 255 ? 1023 - 3 : 4 * code - 2,
                          part = static_cast<int>(i % 4);
                return static_cast<WORD>(kIndex / 2 == 11 ? 4 * code : std::max(low + part, 0));
            };
        const auto widened = [](int code) { return static_cast<WORD>((code * 1023 + 127) / 255); };
        working[2 * i] = word(block[row + x]);
        working[2 * i + 1] = word(block[chroma]);
        alpha[i] = widened(block[512 + row + x]);
        if (static_cast<LONG>(x) < width / 2 * 2 && static_cast<LONG>(i) < rows * 16) {
            expected[2 * i] = static_cast<WORD>(4 * back[row + x]);
            expected[2 * i + 1] = static_cast<WORD>(4 * back[chroma]);
            expectedAlpha[i] =
                kIndex % 2 == 0 || !plane ? WORD{1023} : widened(back[512 + row + x]);
        }
    }
    width = std::min<LONG>(width, 16);
    const auto last = static_cast<std::size_t>(std::max<LONG>(rows - 1, 0) * pitch);
    Bytes again(picture.size(), kGuard);
    WriteWorkingRows<kIndex, kUse>(&again[last], -pitch, Address(working), 64,
                                   plane ? Address(alpha) : nullptr, 32, width, rows);
    ASSERT_EQ(again, picture);
    ReadWorkingRows<kIndex, kUse>(&again[last], -pitch, Address(read), 64, nullptr, 32, width,
                                  rows);
    ReadWorkingRows<kIndex, kUse>(&again[last], -pitch, Address(read), 64, Address(readAlpha), 32,
                                  width, rows);
    ASSERT_EQ(read, expected);
    ASSERT_EQ(readAlpha, expectedAlpha);
}

enum Kind { kOpaque, kStraight, kPremultiplied };

/// A block through the callbacks of a layout, bottom-up: by the formulas, the same when it was read
/// and written again, within what rounded alpha allows, and nothing else touched.
template <PackedLayout kLayout, int kIndex, Kind kKind>
void CheckBlock(const Bytes& block, const std::string& order, LONG width, LONG rows) {
    SCOPED_TRACE(testing::Message() << order << " kind " << kKind << " width " << width);
    constexpr AlphaUse kUse = kKind == kStraight ? AlphaUse::kStraight : AlphaUse::kPremultiplied;
    constexpr bool kFloats = kLayout == PackedLayout::kR4fl, kPlain = kKind == kOpaque;
    const LONG pairBytes = static_cast<LONG>(order.size()) * (kFloats ? 4 : 1);
    const LONG pairs = std::clamp<LONG>(width / 2, 0, 8), pitch = pairs * pairBytes + 8;
    Bytes picture(static_cast<std::size_t>(16 * pitch), kGuard), again = picture;
    Bytes back(1024, kGuard), unread(512, kGuard);
    const LONG last = std::max<LONG>(rows - 1, 0) * pitch;
    BYTE *to = picture.data() + last, *next = again.data() + last;
    if constexpr (kPlain) {
        WriteCoreBlock<kLayout>(to, -pitch, block.data(), width, rows);
        ReadCoreBlock<kLayout>(to, -pitch, back.data(), width, rows);
        WriteCoreBlock<kLayout>(next, -pitch, back.data(), width, rows);
        ASSERT_EQ(Bytes(back.begin() + 512, back.end()), unread);
        CheckRows<kIndex + 1, kUse>(picture, pitch, block, back, false, width, rows);
    } else {
        WriteAlphaBlock<kLayout, kUse>(to, -pitch, 5, 6, block.data(), width, rows);
        ReadAlphaBlock<kLayout, kUse>(to, -pitch, 5, 6, back.data(), width, rows);
        WriteAlphaBlock<kLayout, kUse>(next, -pitch, 5, 6, back.data(), width, rows);
    }
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const bool lossy = kLayout == PackedLayout::kV408 && kKind == kPremultiplied;
        ASSERT_NEAR(picture[i], again[i], lossy ? 1 : 0) << i;
    }
    if (!kFloats || block[512] % 85 == 0) {  // parts of 255 that are parts of 1023 too
        CheckRows<kPlain ? kIndex : kIndex + 1, kUse>(picture, pitch, block, back, true, width,
                                                      rows);
    }
    for (LONG i = 0; i < rows * pairs; ++i) {
        BYTE* at = &picture[static_cast<std::size_t>(i / pairs * pitch + i % pairs * pairBytes)];
        const Pair pair = BlockPair(&block[static_cast<std::size_t>(32 * (rows - 1 - i / pairs))],
                                    i % pairs * 2, kPlain);
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
void CheckBlocks(const std::string& order, std::size_t pixels, std::vector<DWORD> clear) {
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
        CheckBlock<kLayout, kIndex, kOpaque>(block, order, width, rows);
        CheckBlock<kLayout, kIndex, kStraight>(block, order, width, rows);
        CheckBlock<kLayout, kIndex, kPremultiplied>(block, order, width, rows);
        ASSERT_FALSE(testing::Test::HasFatalFailure());
    }
    for (const LONG width : {1, 15, 32}) {
        const std::size_t words = clear.size() * static_cast<std::size_t>(width / 2 * 2) / pixels;
        std::vector<DWORD> rows(2 * words + 2, 7), expected;
        FillTransparent<kLayout>(reinterpret_cast<BYTE*>(rows.data()),
                                 static_cast<LONG>(4 * words + 4), 1, 2, width, 2);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::size_t x = i % (words + 1);
            expected.push_back(x == words ? 7 : clear[x % clear.size()]);
        }
        EXPECT_EQ(rows, expected);
    }
}

TEST(PackedLayouts, AreStoredByTheFormulasForAllSamplesAlphasAndWidths) {
    CheckBlocks<PackedLayout::k2vuy, 24>("2031", 2, {0x10801080});
    CheckBlocks<PackedLayout::kV408, 14>("20342135", 1, {0x10801080});
    CheckBlocks<PackedLayout::kR408, 16>("40235123", 1, {0x80800000});
    CheckBlocks<PackedLayout::kR4fl, 22>("40235123", 1, {0, 0, 0x3F008081, 0x3F008081});
}

TEST(PackedLayouts, ReadWhatNoWriterStoresByClampingAndTakeChromaFromTheEvenPixel) {
    const float nan = std::nanf(""), wild[] = {1e30f, nan, -1, 2, nan, 2, 9, 9};
    const auto* floats = reinterpret_cast<const BYTE*>(wild);
    const BYTE v408[] = {7, 1, 8, 3, 9, 2, 9, 240}, r408[] = {5, 0, 7, 8, 6, 250, 9, 9};
    const BYTE bright[] = {1, 200, 255, 0, 0, 9, 9, 9}, clear[] = {0, 9, 9, 9, 255, 9, 9, 9};
    constexpr AlphaUse kOne = AlphaUse::kStraight, kOther = AlphaUse::kPremultiplied;
    const struct {
        void (*read)(const BYTE*, LONG, DWORD, DWORD, BYTE*, LONG, LONG);
        const BYTE* picture;
        Pair expected;
    } rows[] = {
        {ReadAlphaBlock<PackedLayout::k2vuy, kOne>, v408, {1, 3, 7, 8, 255, 255}},
        {ReadAlphaBlock<PackedLayout::kV408, kOne>, v408, {1, 2, 7, 8, 0, 255}},
        {ReadAlphaBlock<PackedLayout::kR408, kOne>, r408, {16, 255, 7, 8, 5, 6}},
        {ReadAlphaBlock<PackedLayout::kR408, kOther>, bright, {255, 16, 255, 0, 1, 0}},
        {ReadAlphaBlock<PackedLayout::kR408, kOther>, clear, {16, 25, 128, 128, 0, 255}},
        {ReadAlphaBlock<PackedLayout::kR4fl, kOne>, floats, {0, 255, 0, 255, 255, 0}},
        {ReadAlphaBlock<PackedLayout::kR4fl, kOther>, floats, {0, 16, 128, 128, 255, 0}},
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
    for (const LONG width : {2, 64, 66, 131}) {
        const LONG even = width / 2 * 2;
        Words words, alpha, expected(static_cast<std::size_t>(4 * width)), read, readAlpha;
        for (LONG i = 0; i < 2 * even; ++i) {
            words.push_back(static_cast<WORD>(460 + i * 37 % 100));
            alpha.push_back(static_cast<WORD>(i % 16 == 0 ? 1023 : 400 + i * 71 % 600));
        }
        read = readAlpha = Words(words.size());
        const Bytes samples(Address(words), Address(words) + 4 * even);
        const Bytes rgb = Converted(samples, FourCC("W210"), FourCC("A46L"), even, 1, matrix + 1);
        std::memcpy(expected.data(), rgb.data(), rgb.size());
        for (std::size_t i = 0; i < rgb.size() / 2; ++i) {
            const DWORD wide = (kIndex < 20 ? 1023 : alpha[i / 4]) * 65535u / 1023;
            const DWORD weight = kUse == AlphaUse::kPremultiplied ? wide : 65535;
            const DWORD word = i % 4 == 0 ? wide : (expected[i] * weight + 32767) / 65535;
            expected[i] = static_cast<WORD>(word >> 8 | (word & 255) << 8);
        }
        Words picture(expected.size());
        WriteWorkingRows<kIndex, kUse>(Address(picture), 0, Address(words), 0, Address(alpha), 0,
                                       width, 1);
        ASSERT_EQ(picture, expected);
        ReadWorkingRows<kIndex, kUse>(Address(picture), 0, Address(read), 0, Address(readAlpha), 0,
                                      width, 1);
        for (std::size_t i = 0; i < words.size(); ++i) {
            ASSERT_NEAR(read[i], words[i], 1);
            ASSERT_EQ(readAlpha[i / 2], kIndex < 20 ? 1023 : alpha[i / 2]);
        }
    }
}

TEST(WorkingRows, BecomeDeepRgbByTheMatrixOfTheirDefinition) {
    CheckDeepRgb<18, AlphaUse::kStraight>(2);
    CheckDeepRgb<19, AlphaUse::kPremultiplied>(0);
    CheckDeepRgb<20, AlphaUse::kPremultiplied>(2);
    CheckDeepRgb<21, AlphaUse::kStraight>(0);
}

/// The first pixel's luma and alpha of a picture of the bytes 0, 0, 9, 9, ...
template <int kIndex>
Words ReadPremultiplied() {
    Bytes picture(32, 9);
    Words samples(4), alpha(2);
    picture[0] = picture[1] = 0;
    ReadWorkingRows<kIndex, AlphaUse::kPremultiplied>(picture.data(), 0, Address(samples), 0,
                                                      Address(alpha), 0, 2, 1);
    return {samples[0], alpha[0]};
}

TEST(WorkingRows, ReadAnOpaquePictureWithoutItsAlphaAndAClearPixelAsBlack) {
    EXPECT_EQ(ReadPremultiplied<14>(), (Words{0, 1023}));
    EXPECT_EQ(ReadPremultiplied<16>(), (Words{64, 1023}));
    EXPECT_EQ(ReadPremultiplied<18>()[1], 1023);
    EXPECT_EQ(ReadPremultiplied<20>(), (Words{64, 0}));
    EXPECT_EQ(ReadPremultiplied<22>()[1], 1023);
}

TEST(WorkingRows, KeepTheirFractionsInFloatsUpToTheHighestCode) {
    Words words = {65, 514, 1023, 1023}, back(4);
    BYTE floats[32];
    WriteWorkingRows<22, AlphaUse::kStraight>(floats, 0, Address(words), 0, nullptr, 0, 2, 1);
    ReadWorkingRows<22, AlphaUse::kStraight>(floats, 0, Address(back), 0, nullptr, 0, 2, 1);
    EXPECT_EQ(back, (Words{65, 514, 1020, 1020}));
}

TEST(WorkingRows, KeepV210SamplesAsTheyAreIfTheRowFits) {
    constexpr auto kWrite = WriteWorkingRows<13, AlphaUse::kStraight>;
    for (LONG width = 2; width <= 50; width += 2) {
        const TenBitPicture picture = RandomTenBitPicture(width, 1, 3);
        Words words;
        for (std::size_t i = 0; i < picture.samples.size(); ++i) {
            words.push_back(picture.samples[i ^ 1]);
        }
        Words back(words.size()), alpha(words.size() / 2, 5), opaque(words.size() / 2, 1023);
        Bytes packed(256, 0), expected = Q210Frame(picture, 0);
        expected.resize(packed.size());
        kWrite(packed.data(), 256, Address(words), 0, Address(alpha), 0, width, 1);
        EXPECT_EQ(packed, expected);
        ReadWorkingRows<13, AlphaUse::kStraight>(packed.data(), 256, Address(back), 0,
                                                 Address(alpha), 0, width, 1);
        EXPECT_EQ(std::pair(back, alpha), std::pair(words, opaque));
    }
    Words samples(2 * 50);
    for (const LONG stride : {143, 0, -143, 144, -144}) {
        Bytes picture(288, kGuard);
        kWrite(&picture[144], stride, Address(samples), 0, nullptr, 0, 50, 1);
        EXPECT_EQ(picture == Bytes(288, kGuard), std::abs(stride) < 144);
    }
}

TEST(Matte, TurnsTransparentPixelsIntoTheBlackOfTheirLayout) {
    struct Row {
        std::vector<int> indices;
        Bytes clear, black, visible;
    };
    const auto floats = [](float alpha) {
        Bytes pixel(16, 1);
        std::memcpy(pixel.data(), &alpha, 4);
        return pixel;
    };
    const Bytes floatBlack = {0, 0, 0, 0, 0, 0, 0, 0, 0x81, 0x80, 0, 0x3F, 0x81, 0x80, 0, 0x3F};
    const Row rows[] = {
        {{5, 7, 9, 11}, {1, 2, 3, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}},
        {{6, 8, 10, 12}, {0, 0, 0, 0}, {0x10, 0x10, 0x10, 0}, {1, 2, 3, 255}},
        {{14, 15}, {9, 9, 9, 16}, {0x80, 0x10, 0x80, 0x10}, {9, 9, 9, 17}},
        {{14, 15}, {9, 9, 9, 0}, {0x80, 0x10, 0x80, 0x10}, {9, 9, 9, 255}},
        {{16, 17}, {0, 9, 9, 9}, {0, 0, 0x80, 0x80}, {1, 9, 9, 9}},
        {{18, 19, 20, 21}, {0, 0, 1, 2, 3, 4, 5, 6}, Bytes(8), {0, 1, 1, 2, 3, 4, 5, 6}},
        {{18, 19, 20, 21}, {0, 0, 0, 0, 0, 0, 0, 9}, Bytes(8), {1, 0, 1, 2, 3, 4, 5, 6}},
        {{22, 23}, floats(-0.0f), floatBlack, floats(1e-45f)},
        {{22, 23}, floats(-1), floatBlack, floats(HUGE_VALF)},
        {{22, 23}, floats(std::nanf("")), floatBlack, floats(2)},
        {{0, 13, 24, 25}, {1, 0}, {1, 0}, {0, 0}},
        {{1, 2, 3, 4}, {1, 2, 0}, {1, 2, 0}, {0, 0, 0}},
    };
    for (const Row& row : rows) {
        for (const int index : row.indices) {
            // Bottom-up rows of two pixels, with a gap of one that looks transparent.
            const auto bytes = static_cast<LONG>(row.clear.size());
            GuardedMemory picture(row.clear + row.visible + row.clear + row.visible + row.clear);
            CleanMatte({index, bytes, picture.data() + 3 * bytes, -3 * bytes, 2, 2});
            EXPECT_EQ(Bytes(picture.data(), picture.data() + 5 * bytes),
                      row.black + row.visible + row.clear + row.visible + row.black)
                << index;
        }
    }
}

TEST(FrameChunks, AreReadInsideTheirContainerAloneAtEveryCut) {
    const Bytes fiel = Chunk("FIEL", {1}), rdrt = Chunk("RDRT", {7, 8}),
                other = Chunk("ABCD", {1, 2});
    const Bytes frame =
        InfoChunk(10, 20, 648, 720, fiel + other + rdrt + Chunk("FIEL", {2})) + Bytes(9, 0xEE);
    for (std::size_t size = 0; size <= frame.size(); ++size) {
        const GuardedMemory cut(Bytes(frame.begin(), frame.begin() + static_cast<LONG>(size)));
        const ByteSpan span(cut.data(), size);
        const FrameChunks chunks(span);
        ASSERT_EQ(chunks.Info().has_value(), size >= 24) << size;
        ASSERT_EQ(chunks.FieldCode().value_or(9), size >= 36 ? 1u : 9u) << size;
        ASSERT_EQ(chunks.Rdrt().has_value(), size >= 68) << size;
        ASSERT_EQ(SkipInfoChunk(span).size(), size < 4 ? size : size > 80 ? size - 80 : 0) << size;
        if (size == frame.size()) {
            const InfoWords info = *chunks.Info();
            EXPECT_EQ((std::array{info.infoA, info.infoB, info.pixelAspectX, info.pixelAspectY,
                                  chunks.Rdrt()->a, chunks.Rdrt()->b}),
                      (std::array<LONG, 6>{10, 20, 648, 720, 7, 8}));
            EXPECT_EQ(*SkipInfoChunk(span).data(), 0xEE);
        }
    }
    Bytes huge = InfoChunk(0, 0, 1, 1, other), beyond = huge + fiel,
          lying = InfoChunk(0, 0, 1, 1, other + fiel);
    std::fill_n(&huge[4], 4, 0xFF);
    std::fill_n(&lying[28], 4, 0xFF);
    for (const Bytes& bytes :
         {huge, beyond, lying, InfoChunk(0, 0, 1, 1, Bytes(8) + fiel), fiel, Bytes(40)}) {
        const GuardedMemory whole(bytes);
        const ByteSpan span(whole.data(), whole.size());
        EXPECT_FALSE(FrameChunks(span).FieldCode());
        const bool bare = bytes[0] != 'I';
        EXPECT_EQ(FrameChunks(span).Info().has_value(), !bare);
        EXPECT_EQ(SkipInfoChunk(span).size(), bare              ? bytes.size()
                                              : bytes == beyond ? fiel.size()
                                                                : 0);
    }
}

TEST(FrameSizes, HaveTheirUsualFieldOrderAndPixelAspect) {
    // width, height, aspect, field order at 29.97 and 25 frames a second
    constexpr LONG kSizes[][5] = {
        {1920, 1080, 1, 1, 0},   {1440, 1080, 1920, 1440, 0}, {1280, 1080, 1920, 1280, 0},
        {1280, 720, 1, 1, 2},    {960, 720, 1280, 960, 2},    {1024, 576, 1, 1, 1},
        {720, 576, 768, 720, 1}, {720, 486, 648, 720, 0},     {720, 480, 648, 720, 1},
        {856, 480, 1, 1, 1},     {704, 480, 648, 720, 2},     {704, 576, 768, 720, 2},
        {640, 480, 648, 640, 2}, {320, 240, 648, 640, 2},     {160, 120, 648, 640, 2},
        {352, 480, 648, 352, 2}, {352, 240, 648, 704, 2},     {352, 288, 768, 720, 2},
        {176, 144, 768, 720, 2}, {1280, 1024, 1, 1, 2},       {1280, 960, 1, 1, 2},
        {1024, 768, 1, 1, 2},    {800, 600, 1, 1, 2},         {1000, 1000, 1, 1, 2},
        {1080, 1920, 1, 1, 2},   {721, 576, 1, 1, 2},
    };
    for (const auto& [width, height, x, y, order] : kSizes) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        const PixelAspect aspect = DefaultPixelAspect(width, height);
        EXPECT_EQ(std::pair(aspect.x, aspect.y), std::pair(x, y));
        EXPECT_EQ(FieldOrderOfSize(width, height).value_or(2), order);
        EXPECT_EQ(DefaultFieldOrder(width, height, 333666), order);
        EXPECT_EQ(DefaultFieldOrder(width, height, 400000), order);
        EXPECT_EQ(DefaultFieldOrder(width, height, 333667), 2);
        EXPECT_EQ(DefaultFieldOrder(width, height, (1LL << 32) + 400000), 2);
    }
}

}  // namespace
}  // namespace nyx
