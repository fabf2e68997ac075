/// The packed layouts: the values that writers store and readers return, for 8-bit blocks and
/// 10-bit rows. Q210: the row kernels against the v210 layout, and the codec in both directions
/// against a plain unpacking or packing of the whole picture and its conversion.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>

#include "codecs/row_callbacks.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/ten_bit_rows.h"
#include "codecs/working_rows.h"
#include "convert/cpu_info.h"
#include "media/v210.h"
#include "tests/codecs/converted.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

constexpr BYTE kGuard = 0xA5;
using Words = std::vector<WORD>;

BYTE* Address(Words& words) {
    return reinterpret_cast<BYTE*>(words.data());
}

const WorkingRowsCallbacks& Rows(int index, AlphaUse alpha) {
    return kWorkingRows[index - kIndexV210][static_cast<std::size_t>(alpha)];
}

template <PackedLayout kLayout>
constexpr const RowCallbacks& kBlocks = kRowCallbacks[static_cast<std::size_t>(kLayout)];

/// A pixel pair in 8-bit codes: lumas, Cb, Cr, alphas.
using Pair = std::array<double, 6>;

Pair BlockPair(const BYTE* row, LONG x) {
    const BYTE* chroma = row + 16 + x / 2;
    return {1.0 * row[x],    1.0 * row[x + 1],   1.0 * chroma[8],
            1.0 * chroma[0], 1.0 * row[512 + x], 1.0 * row[513 + x]};
}

/// A pair as the layout stores it; `order` has a digit for each value's place in the pair.
std::vector<double> Stored(PackedLayout layout, const std::string& order, bool premultiplied,
                           Pair p) {
    constexpr double k = 0.003921569;
    const bool floats = layout == PackedLayout::kR4fl;
    for (std::size_t i = 0; premultiplied && i < 4; ++i) {
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
        if (floats && luma) {
            stored.push_back(std::clamp((code - 16) * k, -0.0627451, 0.9372549));
        } else if (floats) {
            stored.push_back(alpha ? code / 255 : std::min(code * k, 1.0));
        } else if (rebased) {
            stored.push_back(std::max(code - 16, 0.0));
        } else {
            stored.push_back(studio ? std::floor((code * 219 + 127) / 255) + 16 : code);
        }
    }
    return stored;
}

enum Kind { kOpaque, kStraight, kPremultiplied };

/// Writes a block in a layout, bottom-up: stored by the formulas, the same when read and written
/// again, within the error of rounded alpha, and nothing else touched.
template <PackedLayout kLayout, Kind kKind>
void CheckBlock(const Bytes& block, const std::string& order, LONG width, LONG rows) {
    SCOPED_TRACE(testing::Message() << order << " kind " << kKind << " width " << width);
    constexpr std::size_t kUse = kKind == kStraight ? 0 : 1;
    constexpr bool kFloats = kLayout == PackedLayout::kR4fl;
    const LONG pairBytes = static_cast<LONG>(order.size()) * (kFloats ? 4 : 1);
    const LONG pairs = std::clamp<LONG>(width / 2, 0, 8), pitch = pairs * pairBytes + 8;
    Bytes picture(static_cast<std::size_t>(16 * pitch), kGuard), again = picture, back(1024);
    const LONG last = std::max<LONG>(rows - 1, 0) * pitch;
    BYTE *to = picture.data() + last, *next = again.data() + last;
    if constexpr (kKind == kOpaque) {
        kBlocks<kLayout>.coreDecode(to, -pitch, block.data(), width, rows);
        kBlocks<kLayout>.coreEncode(to, -pitch, back.data(), width, rows);
        ASSERT_EQ(Bytes(back.begin() + 512, back.end()), Bytes(512));
        kBlocks<kLayout>.coreDecode(next, -pitch, back.data(), width, rows);
    } else {
        kBlocks<kLayout>.alphaDecode[kUse].write(to, -pitch, 5, 6, block.data(), width, rows);
        kBlocks<kLayout>.alphaEncode[kUse](to, -pitch, 5, 6, back.data(), width, rows);
        kBlocks<kLayout>.alphaDecode[kUse].write(next, -pitch, 5, 6, back.data(), width, rows);
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
    constexpr AlphaUse kAlpha =
        KeepsAlpha(kIndex + 1) ? AlphaUse::kPremultiplied : AlphaUse::kStraight;
    for (const LONG width : {-1, 1, 15, 32}) {  // clear rows, which may be wider than blocks
        Words filled(600, 7), expected = filled, zeros(64), back(64, 7);
        kBlocks<kLayout>.alphaDecode[0].fill(Address(filled), 600, 5, 6, width, 2);
        Rows(kIndex + 1, kAlpha)
            .write(Address(expected), 600, Address(zeros), 0, Address(zeros), 0, width, 2);
        EXPECT_EQ(filled, expected);
        Rows(kIndex, kAlpha)
            .read(Address(filled), 600, Address(back), 64, nullptr, 0, std::min<LONG>(width, 15),
                  2);
        for (LONG i = 0; i < 64; ++i) {
            const bool read = i % 32 < std::max<LONG>(std::min<LONG>(width, 15) / 2 * 4, 0);
            const WORD black = i % 2 == 0 ? 64 : 512;
            EXPECT_EQ(back[static_cast<std::size_t>(i)], read ? black : 7);
        }
    }
}

TEST(PackedLayouts, FollowTheFormulasForAllSamplesAlphasAndWidths) {
    CheckBlocks<PackedLayout::k2vuy, 24>("2031");
    CheckBlocks<PackedLayout::kV408, 14>("20342135");
    CheckBlocks<PackedLayout::kR408, 16>("40235123");
    CheckBlocks<PackedLayout::kR4fl, 22>("40235123");
}

TEST(PackedLayouts, ClampOtherValuesAndReadChromaFromTheEvenPixel) {
    const float wild[] = {1e30f, std::nanf(""), -1, 2, std::nanf(""), 2, 9, 9};
    const auto* floats = reinterpret_cast<const BYTE*>(wild);
    const BYTE v408[] = {7, 1, 8, 3, 9, 2, 9, 240}, r408[] = {5, 0, 7, 8, 6, 250, 9, 9};
    const BYTE bright[] = {1, 200, 255, 0, 0, 9, 9, 9};
    const struct {
        AlphaBlockReader read;
        const BYTE* picture;
        Pair expected;
    } rows[] = {
        {kBlocks<PackedLayout::k2vuy>.alphaEncode[0], v408, {1, 3, 7, 8, 255, 255}},
        {kBlocks<PackedLayout::kV408>.alphaEncode[0], v408, {1, 2, 7, 8, 0, 255}},
        {kBlocks<PackedLayout::kR408>.alphaEncode[0], r408, {16, 255, 7, 8, 5, 6}},
        {kBlocks<PackedLayout::kR408>.alphaEncode[1], bright, {255, 16, 255, 0, 1, 0}},
        {kBlocks<PackedLayout::kR4fl>.alphaEncode[0], floats, {0, 255, 0, 255, 255, 0}},
        {kBlocks<PackedLayout::kR4fl>.alphaEncode[1], floats, {0, 16, 128, 128, 255, 0}},
    };
    for (const auto& row : rows) {
        BYTE block[1024] = {};
        row.read(row.picture, 0, 5, 6, block, 2, 1);
        EXPECT_EQ(BlockPair(block, 0), row.expected) << &row - rows;
    }
}

/// "b64a" is the conversion library's result by a matrix, big-endian, with the row's alpha.
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
    Rows(kIndex, kUse).write(Address(picture), 0, Address(words), 0, Address(alpha), 0, kWidth, 1);
    EXPECT_EQ(picture, expected);
    Rows(kIndex, kUse)
        .read(Address(picture), 0, Address(read), 0, Address(readAlpha), 0, kWidth, 1);
    for (std::size_t i = 0; i < words.size(); ++i) {
        ASSERT_NEAR(read[i], words[i], 1);
        ASSERT_EQ(readAlpha[i / 2], kIndex < 20 ? 1023 : alpha[i / 2]);
    }
}

TEST(WorkingRows, ConvertToDeepRgbByTheMatrixOfTheirDefinition) {
    CheckDeepRgb<18, AlphaUse::kStraight>(2);
    CheckDeepRgb<19, AlphaUse::kPremultiplied>(0);
    CheckDeepRgb<20, AlphaUse::kPremultiplied>(2);
    CheckDeepRgb<21, AlphaUse::kStraight>(0);
}

TEST(WorkingRows, AreRoundedToBytesNotToFloatsAndReadOpaqueOrAsBlack) {
    for (int value = 0; value < 1024; ++value) {
        const auto word = static_cast<WORD>(value);
        Words samples(4, word), alpha(2, word), back(4);
        BYTE bytes[8], floats[32];
        Rows(17, AlphaUse::kStraight).write(bytes, 0, Address(samples), 0, Address(alpha), 0, 2, 1);
        EXPECT_EQ(bytes[0], (value * 255 + 511) / 1023);
        EXPECT_EQ(bytes[2], std::min((value + 2) / 4, 255)) << value;
        Rows(23, AlphaUse::kStraight).write(floats, 0, Address(samples), 0, nullptr, 0, 2, 1);
        Rows(23, AlphaUse::kPremultiplied)
            .read(floats, 0, Address(back), 0, Address(alpha), 0, 2, 1);
        EXPECT_EQ(back, Words(4, std::min<WORD>(word, 1020)));
        EXPECT_EQ(alpha, Words(2, 1023)) << "opaque without a plane";
    }
    Words pixels(8), samples(4), alpha(2);  // transparent pixels, opaque in layouts without alpha
    for (const int index : {16, 18, 20}) {
        Rows(index, AlphaUse::kPremultiplied)
            .read(Address(pixels), 0, Address(samples), 0, Address(alpha), 0, 2, 1);
        EXPECT_EQ(samples[0], 64);
        EXPECT_EQ(alpha[0], index == 20 ? 0 : 1023);
    }
}

TEST(WorkingRows, KeepV210SamplesIfTheRowFits) {
    for (LONG width = 2; width <= 50; width += 2) {
        const TenBitPicture picture = RandomTenBitPicture(width, 1, 3);
        Words words, back(picture.samples.size()), alpha(back.size() / 2);
        for (std::size_t i = 0; i < back.size(); ++i) {
            words.push_back(picture.samples[i ^ 1]);
        }
        const auto filled = static_cast<LONG>(V210RowBytes(width));
        for (const LONG stride : {filled, -filled, LONG{0}, filled - 1}) {
            const Bytes frame = Q210Frame(picture, 0);
            Bytes packed(frame.size());
            Rows(13, AlphaUse::kStraight)
                .write(packed.data(), stride, Address(words), 0, nullptr, 0, width, 1);
            EXPECT_EQ(packed, std::abs(stride) < filled ? Bytes(frame.size()) : frame);
            Rows(13, AlphaUse::kStraight)
                .read(packed.data(), stride, Address(back), 0, Address(alpha), 0, width, 1);
            EXPECT_EQ(std::pair(back, alpha), std::pair(words, Words(alpha.size(), 1023)));
        }
    }
}

/// 8-bit "YUY2" widened to ten bits.
TenBitPicture Widened(LONG width, LONG height, const Bytes& yuy2) {
    TenBitPicture picture = {width, height, {}};
    for (std::size_t i = 0; i < yuy2.size(); ++i) {
        picture.samples.push_back(static_cast<WORD>(yuy2[i ^ 1] << 2));
    }
    return picture;
}

Bytes Copy(const GuardedMemory& memory) {
    return Bytes(memory.data(), memory.data() + memory.size());
}

void CheckKernels(const TenBitRowKernels& kernels) {
    for (LONG i = 1; i < 1024; ++i) {
        const LONG width = i <= 100 ? 2 * i : 48;
        TenBitPicture picture = {width, 1, {}};
        for (LONG k = 0; k < 2 * width; ++k) {
            picture.samples.push_back(static_cast<WORD>((i + 85 * k) % 1024));
        }
        Bytes groups = Q210Frame(picture, i % 2 == 0 ? 0 : 0xFF);
        const TenBitRowLayout layout = TenBitRowLayoutFor(width);
        ASSERT_EQ(layout.stride, groups.size());
        ASSERT_EQ(layout.stride - layout.gap, layout.filled);
        groups.resize(static_cast<std::size_t>((width + 5) / 6 * 16));
        const GuardedMemory from(groups), yuy2(static_cast<std::size_t>(2 * width), kGuard);
        const GuardedMemory packed(layout.filled, kGuard);
        kernels.unpack(from.data(), yuy2.data(), width);
        ASSERT_EQ(Copy(yuy2), ReferenceYuy2(picture)) << width;
        kernels.pack(yuy2.data(), packed.data(), width);
        Bytes expected = Q210Frame(Widened(width, 1, Copy(yuy2)), 0);
        expected.resize(layout.filled);
        ASSERT_EQ(Copy(packed), expected) << width;
    }
}

TEST(TenBitRows, EqualThePlainRuleAtEveryWidthAndForEveryValueInEveryPlace) {
    CheckKernels(kTenBitRowsSsse3);
    if (!HasCpuFeature(kCpuSse41)) {
        GTEST_SKIP() << "this processor has no SSE4.1";
    }
    CheckKernels(kTenBitRowsSse41);
}

TEST(TenBitCodec, UnpacksAndPacksThePictureAndNothingElse) {
    constexpr struct {
        LONG width, height;
        DWORD rowBytes, reported;  ///< of a row of the frame
    } kSizes[] = {{2, 1, 128, 240},      {46, 5, 128, 128},      {50, 16, 256, 368},
                  {720, 17, 1920, 1920}, {1280, 33, 3456, 3488}, {960, 720, 2560, 2560},
                  {952, 720, 2560, 2576}};  // to high definition where the output is wider
    for (std::size_t i = 0; i < 12 * std::size(kSizes); ++i) {
        const auto [width, height, rowBytes, reported] = kSizes[i / 12];
        const LONG bytes = 2 + static_cast<LONG>(i % 12 / 4), wider = i / 2 % 2 == 0 ? 0 : 10;
        const bool topDown = i % 2 != 0;
        SCOPED_TRACE(testing::Message()
                     << width << "x" << height << " of " << bytes << "+" << wider);
        CTenBitCodec codec;
        const TenBitPicture picture = RandomTenBitPicture(width, height, 5);
        const DWORD code = width >= 960 && height >= 720 ? 3 : 1, rgb = bytes == 3 ? kBgr3 : kBgra;
        Bytes yuy2 = ReferenceYuy2(picture);
        const Bytes rows = bytes == 2 ? yuy2 : Converted(yuy2, kYuy2, rgb, width, height, code);
        const BITMAPINFOHEADER header =
            MakeHeader(bytes == 2 ? kYuy2 : DWORD{BI_RGB}, static_cast<WORD>(8 * bytes),
                       width + wider, topDown ? -height : height);
        const LONG pitch = bytes * (width + wider);
        Bytes expected(static_cast<std::size_t>(pitch * height), kGuard);
        for (LONG y = 0; y < height; ++y) {
            const LONG to = bytes == 2 || topDown ? y : height - 1 - y;
            std::copy_n(rows.begin() + y * bytes * width, bytes * width,
                        expected.begin() + to * pitch);
        }
        const Bytes frame = Q210Frame(picture);
        const GuardedMemory sample(frame), output(expected.size(), kGuard);
        BITMAPINFOHEADER stream = MakeHeader(FourCC("Q210"), 20, width, height, frame.size());
        ASSERT_EQ(codec.Decompress(&stream, sample.data(), &header, false, output.data(), 0, 0),
                  S_OK);
        ASSERT_TRUE(Copy(output) == expected);
        if (wider == 0) {
            yuy2 = bytes == 2 ? yuy2 : Converted(rows, rgb, kYuy2, width, height, code);
            const auto size = static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height);
            const GuardedMemory input(expected), coded(size, 0);
            stream.biSizeImage = 0;
            ASSERT_EQ(
                codec.Compress(&header, bytes == 4, input.data(), &stream, coded.data(), 0, 0, 0),
                S_OK);
            ASSERT_TRUE(Copy(coded) == Q210Frame(Widened(width, height, yuy2), 0));
            EXPECT_EQ(stream.biSizeImage, reported * static_cast<DWORD>(height));
            EXPECT_EQ(codec.GetMaxCompressedSize(&header, false), size + 1064);
        }
    }
}

}  // namespace
}  // namespace nyx::test
