/// Uncompressed layouts: which index and geometry a picture has, what every packed layout's writers
/// and readers make of samples, what clears a transparent pixel; chunks and tables by frame size.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "codecs/frame_chunks.h"
#include "codecs/frame_size_tables.h"
#include "codecs/matte.h"
#include "codecs/row_callbacks.h"
#include "codecs/working_rows.h"
#include "tests/support/frames.h"
#include "tests/support/guard.h"

namespace nyx {
namespace {

using namespace test;

constexpr LONG kMin = std::numeric_limits<LONG>::min();
constexpr LONG kMax = std::numeric_limits<LONG>::max();
constexpr DWORD kYuy2 = FourCC("YUY2");
constexpr BYTE kGuard = 0xA5;

TEST(Surfaces, HaveTheIndexOfTheTable) {
    struct Row {
        DWORD compression;
        WORD bits;
        LONG bytes;
        int index[8];  // 4 for standard definition + 2 for a color_space + 1 for a stream's alpha
        int askedAlphaAdds;
    };
    const Row rows[] = {
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
    for (const Row& row : rows) {
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
            EXPECT_EQ(SurfaceSize(header), std::uint64_t(1280 * -height * row.bytes));
            const ConversionFlags flags = ConversionFlagsFor(-width, height, colorSpace);
            EXPECT_EQ(flags.yuv, standard ? 0u : 2u);
            EXPECT_EQ(flags.rgb, flags.yuv + (colorSpace == 0));
        }
    }
}

TEST(Surfaces, AreBottomUpForRgbAloneAndRefusedWhereTheyDoNotFit) {
    struct Row {
        BITMAPINFOHEADER header;
        LONG callerStride, stride, start;  // a stride of 0: refused
        std::uint64_t size;
    };
    const Row rows[] = {
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
    for (const Row& row : rows) {
        SurfaceFormat surface = {};
        SCOPED_TRACE(testing::Message() << row.header.biWidth << " x " << row.header.biHeight);
        EXPECT_EQ(
            DescribeSurface({&row.header, 6, false, false, 0, buffer, row.callerStride}, &surface),
            row.stride != 0 ? S_OK : E_FAIL);
        EXPECT_EQ(surface.stride, row.stride);
        EXPECT_EQ(surface.data ? surface.data - buffer : 0, row.start);
        EXPECT_EQ(surface.height, row.stride != 0 ? 3 : 0);
        EXPECT_EQ(SurfaceSize(row.header), row.size);
    }
    EXPECT_TRUE(IsHighDefinition(kMin, kMin));
}

enum Kind { kOpaque, kStraight, kPremultiplied };

/// A pixel pair in 8-bit codes, with fractions on the way to floats: lumas, Cb, Cr, alphas.
using Pair = std::array<double, 6>;

/// Holds a pair's bytes to the layout's formulas.
void ExpectStored(const BYTE* at, PackedLayout layout, Kind kind, Pair p) {
    constexpr double k = 0.003921569;
    const bool floats = layout == PackedLayout::kR4fl;
    if (kind == kOpaque) {
        p[4] = p[5] = 255;
    } else if (kind == kPremultiplied || layout == PackedLayout::k2vuy) {
        for (std::size_t i = 0; i < 4; ++i) {
            const double zero = i < 2 ? 16 : 128;
            const double weighed = (p[i] - zero) * p[i == 1 ? 5 : 4] + zero * 255;
            p[i] = floats ? weighed / 255 : std::floor((weighed + 127) / 255);
        }
    }
    std::vector<double> expected;
    const auto store = [&](std::initializer_list<double> values) {
        expected.insert(expected.end(), values);
    };
    for (std::size_t i = 0; i < 2; ++i) {
        const double y = p[i], cb = p[2], cr = p[3], a = p[4 + i];
        if (layout == PackedLayout::k2vuy) {
            store({i == 0 ? cb : cr, y});
        } else if (layout == PackedLayout::kV408) {
            store({cb, y, cr, std::floor((a * 219 + 127) / 255) + 16});
        } else if (layout == PackedLayout::kR408) {
            store({a, std::max(y - 16, 0.0), cb, cr});
        } else {
            store({a / 255, std::clamp((y - 16) * k, -0.0627451, 0.9372549), std::min(cb * k, 1.0),
                   std::min(cr * k, 1.0)});
        }
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        float value = at[i];
        if (floats) {
            std::memcpy(&value, at + 4 * i, 4);
        }
        ASSERT_NEAR(value, expected[i], floats ? 2e-7 : 0) << "value " << i;
    }
}

Pair BlockPair(const BYTE* row, LONG x) {
    const BYTE* alpha = row + 512;
    return {double(row[x]),          double(row[x + 1]), double(row[24 + x / 2]),
            double(row[16 + x / 2]), double(alpha[x]),   double(alpha[x + 1])};
}

/// A picture's rows of pairs, 8 bytes apart, are what `pairAt(row, x)` says, and so is a picture
/// that was read from it and written again, within what rounded alpha allows.
template <typename PairAt>
void ExpectPicture(const Bytes& picture, const Bytes& again, LONG pairs, LONG pairBytes,
                   PackedLayout layout, Kind kind, PairAt pairAt) {
    const int tolerance = layout == PackedLayout::kV408 && kind == kPremultiplied ? 1 : 0;
    const LONG pitch = pairs * pairBytes + 8;
    for (LONG at = 0; at < static_cast<LONG>(picture.size()); ++at) {
        const BYTE* byte = &picture[static_cast<std::size_t>(at)];
        const LONG x = at % pitch / pairBytes * 2;
        ASSERT_NEAR(*byte, again[static_cast<std::size_t>(at)], tolerance) << at;
        if (x >= 2 * pairs) {
            ASSERT_EQ(*byte, kGuard) << at;
        } else if (at % pitch % pairBytes == 0) {
            ExpectStored(byte, layout, kind, pairAt(at / pitch, x));
        }
    }
}

Bytes GuardBytes(LONG rows, LONG pitch) {
    return Bytes(static_cast<std::size_t>(std::max<LONG>(rows * pitch - 8, 0)), kGuard);
}

/// A block through the callbacks of a layout, bottom-up; the words that are not read are arbitrary.
template <PackedLayout kLayout, Kind kKind>
void CheckBlock(const Bytes& block, LONG pairBytes, LONG width, LONG rows) {
    SCOPED_TRACE(testing::Message() << pairBytes << " kind " << kKind << " width " << width);
    constexpr AlphaUse kUse = kKind == kStraight ? AlphaUse::kStraight : AlphaUse::kPremultiplied;
    const LONG pairs = std::clamp<LONG>(width / 2, 0, 8), pitch = pairs * pairBytes + 8;
    Bytes picture = GuardBytes(rows, pitch), again = picture, back(1024, kGuard);
    const LONG last = std::max<LONG>(rows - 1, 0) * pitch;  // without rows nothing is touched
    BYTE *to = picture.data() + last, *next = again.data() + last;
    if constexpr (kKind == kOpaque) {
        WriteCoreBlock<kLayout>(to, -pitch, block.data(), width, rows);
        ReadCoreBlock<kLayout>(to, -pitch, back.data(), width, rows);
        WriteCoreBlock<kLayout>(next, -pitch, back.data(), width, rows);
    } else {
        WriteAlphaBlock<kLayout, kUse>(to, -pitch, 5, 6, block.data(), width, rows);
        ReadAlphaBlock<kLayout, kUse>(to, -pitch, 5, 6, back.data(), width, rows);
        WriteAlphaBlock<kLayout, kUse>(next, -pitch, 5, 6, back.data(), width, rows);
    }
    ExpectPicture(picture, again, pairs, pairBytes, kLayout, kKind, [&](LONG row, LONG x) {
        return BlockPair(block.data() + 32 * (rows - 1 - row), x);
    });
}

template <PackedLayout kLayout>
void CheckBlocks(LONG pairBytes, std::vector<DWORD> clear) {
    for (int alpha = 0; alpha < 256; ++alpha) {
        Bytes block(1024);
        for (std::size_t i = 0; i < 512;
             ++i) {  // every luma, every chroma, the alpha and its complement
            const std::size_t low =
                i % 32 < 16 ? i % 16 : i % 8 * 2 + static_cast<std::size_t>(alpha % 2);
            block[i] = static_cast<BYTE>(i / 32 * 16 + low);
            block[512 + i] = static_cast<BYTE>((i + i / 32) % 2 == 0 ? alpha : 255 - alpha);
        }
        const bool whole = alpha % 3 != 0;
        const LONG width = whole ? 16 : alpha / 3 % 20 - 1, rows = whole ? 16 : alpha / 3 % 18 - 1;
        CheckBlock<kLayout, kOpaque>(block, pairBytes, width, rows);
        CheckBlock<kLayout, kStraight>(block, pairBytes, width, rows);
        CheckBlock<kLayout, kPremultiplied>(block, pairBytes, width, rows);
        ASSERT_FALSE(testing::Test::HasFatalFailure());
    }
    for (const LONG width : {1, 15, 32}) {
        const LONG words = width / 2 * pairBytes / 4;
        std::vector<DWORD> rows(static_cast<std::size_t>(2 * words + 2), 7);
        FillTransparent<kLayout>(reinterpret_cast<BYTE*>(rows.data()), 4 * words + 4, 1, 2, width,
                                 2);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::size_t x = i % (rows.size() / 2);
            ASSERT_EQ(rows[i], x + 1 == rows.size() / 2 ? 7 : clear[x % clear.size()]);
        }
    }
}

TEST(Blocks, AreStoredByTheFormulasForAllSamplesAlphasAndWidths) {
    CheckBlocks<PackedLayout::k2vuy>(4, {0x10801080});
    CheckBlocks<PackedLayout::kV408>(8, {0x10801080});
    CheckBlocks<PackedLayout::kR408>(8, {0x80800000});
    CheckBlocks<PackedLayout::kR4fl>(32, {0, 0, 0x3F008081, 0x3F008081});
}

TEST(Blocks, ReadWhatNoWriterStoresByClampingAndTakeChromaFromTheEvenPixel) {
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

int WordAt(const BYTE* words, LONG i) {
    return words[2 * i] | words[2 * i + 1] << 8;
}

/// Words, a part of them `low`.
Bytes RandomWords(LONG count, unsigned low, unsigned span) {
    std::minstd_rand random(static_cast<unsigned>(count));
    Bytes bytes;
    for (LONG i = 0; i < count; ++i) {
        const auto word = low + static_cast<unsigned>(random()) % (random() % 8 ? span : 1);
        bytes.insert(bytes.end(), {static_cast<BYTE>(word), static_cast<BYTE>(word >> 8)});
    }
    return bytes;
}

/// Two rows through the callbacks of an index: written, read, written again.
template <int kIndex>
struct WorkingRows {
    WorkingRows(LONG w, bool weighed, bool withAlpha, LONG used, unsigned low, unsigned span)
        : width(w), pitch(used + 8), hasAlpha(withAlpha && kAlpha) {
        const auto write = weighed ? WriteWorkingRows<kIndex, AlphaUse::kPremultiplied>
                                   : WriteWorkingRows<kIndex, AlphaUse::kStraight>;
        const auto read = weighed ? ReadWorkingRows<kIndex, AlphaUse::kPremultiplied>
                                  : ReadWorkingRows<kIndex, AlphaUse::kStraight>;
        samples = RandomWords(4 * w, low, span);
        alpha = RandomWords(2 * w, low, span);
        picture = again = GuardBytes(2, pitch);
        back = Bytes(samples.size(), kGuard);
        backAlpha = Bytes(alpha.size(), kGuard);
        const BYTE* plane = withAlpha ? alpha.data() : nullptr;
        write(picture.data(), pitch, samples.data(), 4 * w, plane, 2 * w, w, 2);
        read(picture.data(), pitch, back.data(), 4 * w, backAlpha.data(), 2 * w, w, 2);
        write(again.data(), pitch, back.data(), 4 * w, backAlpha.data(), 2 * w, w, 2);
    }
    int Sample(LONG row, LONG i) const { return WordAt(samples.data(), row * 2 * width + i); }
    int Alpha(LONG row, LONG x) const {
        return hasAlpha ? WordAt(alpha.data(), row * width + x) : 1023;
    }

    static constexpr bool kAlpha = kPixelFormats[kIndex].streamAlpha == When::kYes;
    LONG width, pitch;
    bool hasAlpha;
    Bytes samples, alpha, picture, again, back, backAlpha;
};

template <int kIndex>
void CheckRows(PackedLayout layout, LONG pairBytes) {
    for (LONG i = 4; i < 160; ++i) {
        SCOPED_TRACE(testing::Message() << "index " << kIndex << " case " << i);
        const LONG width = i / 4;
        const bool weighed = i % 2 != 0, floats = pairBytes == 32;
        const WorkingRows<kIndex> rows(width, weighed, i % 4 < 2, width / 2 * pairBytes, 0, 1024);
        const auto pairAt = [&](LONG row, LONG x) {
            const auto code = [&](LONG place) {
                const int word = rows.Sample(row, 2 * x + place);
                return floats ? word / 4.0 : std::min((word + 2) / 4, 255);
            };
            const auto alpha = [&](LONG place) {
                const int word = rows.Alpha(row, x + place) * 255;
                return floats ? word / 1023.0 : (word + 511) / 1023;
            };
            return Pair{code(0), code(2), code(1), code(3), alpha(0), alpha(1)};
        };
        const Kind kind = !rows.kAlpha ? kOpaque : weighed ? kPremultiplied : kStraight;
        ExpectPicture(rows.picture, rows.again, width / 2, pairBytes, layout, kind, pairAt);
        for (LONG x = 0; x < width / 2 * 2; ++x) {
            const int alpha = kIndex == 25 ? 1023 : rows.Alpha(1, x);
            const int byte = (alpha * 255 + 511) / 1023;
            ASSERT_NEAR(WordAt(rows.backAlpha.data(), width + x),
                        floats ? alpha : (byte * 1023 + 127) / 255, kIndex == 15 ? 5 : 0);
        }
        ASSERT_TRUE(width % 2 == 0 || WordAt(rows.back.data(), 4 * width - 1) == 0xA5A5);
    }
}

TEST(WorkingRows, AreStoredByTheFormulasAtEveryWidth) {
    CheckRows<14>(PackedLayout::kV408, 8);
    CheckRows<15>(PackedLayout::kV408, 8);
    CheckRows<16>(PackedLayout::kR408, 8);
    CheckRows<17>(PackedLayout::kR408, 8);
    CheckRows<22>(PackedLayout::kR4fl, 32);
    CheckRows<23>(PackedLayout::kR4fl, 32);
    CheckRows<24>(PackedLayout::k2vuy, 4);
    CheckRows<25>(PackedLayout::k2vuy, 4);
}

/// "b64a" against the real formula of its matrix, big-endian A, R, G, B.
template <int kIndex>
void CheckDeepRgb(double kr, double kb) {
    const double kg = 1 - kr - kb, toR = 2 * (1 - kr), toB = 2 * (1 - kb);
    for (LONG i = 0; i < 140; ++i) {
        const LONG width = 2 + i / 2, even = width / 2 * 2;
        const WorkingRows<kIndex> rows(width, i % 2 != 0, true, even * 8, 460, 100);
        for (LONG at = 0; at < 2 * even; ++at) {
            const LONG x = at % even, row = at / even, right = x % 2 != 0 && x + 1 < even ? 4 : 0;
            const auto code = [&](LONG place) { return rows.Sample(row, place) / 4.0; };
            const LONG pair = x / 2 * 4;
            const double y = (code(2 * x) - 16) / 219;
            const double u = ((code(pair + 1) + code(pair + 1 + right)) / 2 - 128) / 224;
            const double v = ((code(pair + 3) + code(pair + 3 + right)) / 2 - 128) / 224;
            const int ten = rows.Alpha(row, x);
            const int alpha = ten * 65535 / 1023;
            const double expected[] = {65535, y + toR * v, y - (toB * kb * u + toR * kr * v) / kg,
                                       y + toB * u};
            const BYTE* pixel = rows.picture.data() + row * rows.pitch + x * 8;
            for (int c = 0; c < 4; ++c) {
                const double scale = i % 2 != 0 || c == 0 ? alpha : 65535;
                ASSERT_NEAR(pixel[2 * c] << 8 | pixel[2 * c + 1],
                            c == 0 ? alpha : expected[c] * scale, c == 0 ? 0 : 3)
                    << "index " << kIndex << " width " << width << " pixel " << x;
            }
            for (LONG k = 0; k < 2; ++k) {
                const LONG place = row * 2 * width + 2 * x + k;
                ASSERT_NEAR(WordAt(rows.back.data(), place), WordAt(rows.samples.data(), place), 1);
            }
            ASSERT_EQ(WordAt(rows.backAlpha.data(), row * width + x), ten);
        }
    }
}

TEST(WorkingRows, BecomeDeepRgbByTheMatrixOfTheirDefinition) {
    CheckDeepRgb<18>(0.2126, 0.0722);
    CheckDeepRgb<19>(0.299, 0.114);
    CheckDeepRgb<20>(0.2126, 0.0722);
    CheckDeepRgb<21>(0.299, 0.114);
}

/// The first pixel of a picture of the bytes 0, 0, 9, 9, ... : its alpha and its luma.
template <int kIndex>
std::pair<int, int> ReadPremultiplied() {
    Bytes picture(32, 9), samples(8), alpha(4);
    picture[0] = picture[1] = 0;
    ReadWorkingRows<kIndex, AlphaUse::kPremultiplied>(picture.data(), 32, samples.data(), 8,
                                                      alpha.data(), 4, 2, 1);
    return {WordAt(alpha.data(), 0), WordAt(samples.data(), 0)};
}

TEST(WorkingRows, ReadAnOpaquePictureWithoutItsAlphaAndAClearPixelAsBlack) {
    EXPECT_EQ(ReadPremultiplied<14>(), std::pair(1023, 0));
    EXPECT_EQ(ReadPremultiplied<16>(), std::pair(1023, 64));
    EXPECT_EQ(ReadPremultiplied<18>().first, 1023);
    EXPECT_EQ(ReadPremultiplied<20>(), std::pair(0, 64));
    EXPECT_EQ(ReadPremultiplied<22>().first, 1023);
}

TEST(WorkingRows, KeepV210SamplesAsTheyAreIfTheRowFits) {
    for (LONG width = 2; width <= 50; width += 2) {
        const LONG groups = (width + 5) / 6;
        const WorkingRows<13> rows(width, false, true, groups * 16, 0, 1024);
        for (LONG row = 0; row < 2; ++row) {
            TenBitPicture picture = {width, 1, {}};
            for (LONG i = row * 2 * width; i < (row + 1) * 2 * width; ++i) {
                picture.samples.push_back(static_cast<WORD>(WordAt(rows.samples.data(), i ^ 1)));
                ASSERT_EQ(WordAt(rows.back.data(), i), WordAt(rows.samples.data(), i));
                ASSERT_EQ(WordAt(rows.backAlpha.data(), i / 2), 1023);
            }
            const BYTE* at = rows.picture.data() + row * rows.pitch;
            const Bytes expected = Q210Frame(picture, 0);
            ASSERT_TRUE(std::equal(at, at + groups * 16, expected.begin())) << width;
            ASSERT_TRUE(row == 1 || at[groups * 16] == kGuard);
        }
    }
    const Bytes samples(4 * 50);
    Bytes picture(288, kGuard);
    for (const LONG stride : {143, 0, -143}) {
        WriteWorkingRows<13, AlphaUse::kStraight>(&picture[144], stride, samples.data(), 0, nullptr,
                                                  0, 50, 1);
        EXPECT_EQ(picture, Bytes(288, kGuard));
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
        for (const REFERENCE_TIME duration : {333666, 400000, 333667, 0}) {
            const bool usual = duration == 333666 || duration == 400000;
            EXPECT_EQ(DefaultFieldOrder(width, height, duration), usual ? order : 2);
            EXPECT_EQ(DefaultFieldOrder(width, height, duration + (REFERENCE_TIME{1} << 32)), 2);
        }
    }
}

}  // namespace
}  // namespace nyx
