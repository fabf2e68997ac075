#include "codecs/row_callbacks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace nyx {
namespace {

constexpr std::size_t kBlockBytes = 1024;
using Block = std::array<BYTE, kBlockBytes>;

enum class Kind { kOpaque, kStraight, kPremultiplied };

/// The samples of one pixel pair, as plain numbers.
struct Pair {
    int y[2];
    int cb;
    int cr;
    int a[2];
};

Pair PairAt(const Block& block, int row, int pair) {
    const BYTE* at = block.data() + row * 32;
    const BYTE* alpha = at + 512 + 2 * pair;
    return {{at[2 * pair], at[2 * pair + 1]}, at[24 + pair], at[16 + pair], {alpha[0], alpha[1]}};
}

void Append(std::vector<BYTE>* out, std::initializer_list<int> bytes) {
    for (int byte : bytes) {
        ASSERT_TRUE(byte >= 0 && byte <= 255) << byte;
        out->push_back(static_cast<BYTE>(byte));
    }
}

void AppendFloats(std::vector<BYTE>* out, std::initializer_list<float> values) {
    for (float value : values) {
        const auto* bytes = reinterpret_cast<const BYTE*>(&value);
        out->insert(out->end(), bytes, bytes + 4);
    }
}

int OverBlack(int y, int a) {
    return ((y - 16) * a + 4207) / 255;
}
int WeighedChroma(int c, int a) {
    return ((c - 128) * a + 32767) / 255;
}
int StudioAlpha(int a) {
    return (a * 219 + 127) / 255 + 16;
}

float Limit(float value, float low, float high) {
    return value < low ? low : (value > high ? high : value);
}

using Reference = std::vector<BYTE> (*)(const Pair&, Kind);

std::vector<BYTE> Reference2vuy(const Pair& p, Kind kind) {
    std::vector<BYTE> out;
    if (kind == Kind::kOpaque) {
        Append(&out, {p.cb, p.y[0], p.cr, p.y[1]});
    } else {
        Append(&out, {WeighedChroma(p.cb, p.a[0]), OverBlack(p.y[0], p.a[0]),
                      WeighedChroma(p.cr, p.a[0]), OverBlack(p.y[1], p.a[1])});
    }
    return out;
}

std::vector<BYTE> ReferenceV408(const Pair& p, Kind kind) {
    std::vector<BYTE> out;
    for (int i = 0; i < 2; ++i) {
        if (kind == Kind::kOpaque) {
            Append(&out, {p.cb, p.y[i], p.cr, 235});
        } else if (kind == Kind::kStraight) {
            Append(&out, {p.cb, p.y[i], p.cr, StudioAlpha(p.a[i])});
        } else {
            Append(&out, {WeighedChroma(p.cb, p.a[0]), OverBlack(p.y[i], p.a[i]),
                          WeighedChroma(p.cr, p.a[0]), StudioAlpha(p.a[i])});
        }
    }
    return out;
}

std::vector<BYTE> ReferenceR408(const Pair& p, Kind kind) {
    std::vector<BYTE> out;
    for (int i = 0; i < 2; ++i) {
        if (kind == Kind::kPremultiplied) {
            Append(&out, {p.a[i], std::max(((p.y[i] - 16) * p.a[i] + 127) / 255, 0),
                          WeighedChroma(p.cb, p.a[0]), WeighedChroma(p.cr, p.a[0])});
        } else {
            const int alpha = kind == Kind::kOpaque ? 255 : p.a[i];
            Append(&out, {alpha, std::max(p.y[i] - 16, 0), p.cb, p.cr});
        }
    }
    return out;
}

std::vector<BYTE> ReferenceR4fl(const Pair& p, Kind kind) {
    constexpr float kUnit = 0.003921569f;
    std::vector<BYTE> out;
    for (int i = 0; i < 2; ++i) {
        const float alpha =
            kind == Kind::kOpaque ? 1.0f : Limit(static_cast<float>(p.a[i]) * kUnit, 0, 1);
        float y = static_cast<float>(p.y[i] - 16) * kUnit;
        float chroma[2] = {static_cast<float>(p.cb) * kUnit, static_cast<float>(p.cr) * kUnit};
        if (kind == Kind::kPremultiplied) {
            const float even = Limit(static_cast<float>(p.a[0]) * kUnit, 0, 1);
            y *= alpha;
            chroma[0] = static_cast<float>(p.cb - 128) * kUnit * even + 128 * kUnit;
            chroma[1] = static_cast<float>(p.cr - 128) * kUnit * even + 128 * kUnit;
        }
        AppendFloats(&out, {alpha, Limit(y, -0.0627451f, 0.9372549f), Limit(chroma[0], 0, 1),
                            Limit(chroma[1], 0, 1)});
    }
    return out;
}

/// One layout with everything an engine may call for it, in one shape.
struct LayoutCase {
    const char* name;
    std::size_t bytesPerPair;
    Reference reference;
    void (*core)(BYTE*, LONG, const BYTE*, LONG, LONG);
    void (*straight)(BYTE*, LONG, DWORD, DWORD, const BYTE*, LONG, LONG);
    void (*premultiplied)(BYTE*, LONG, DWORD, DWORD, const BYTE*, LONG, LONG);
    void (*fill)(BYTE*, LONG, DWORD, DWORD, LONG, LONG);
    void (*readCore)(const BYTE*, LONG, BYTE*, LONG, LONG);
    void (*readStraight)(const BYTE*, LONG, DWORD, DWORD, BYTE*, LONG, LONG);
    void (*readPremultiplied)(const BYTE*, LONG, DWORD, DWORD, BYTE*, LONG, LONG);
};

template <PackedLayout kLayout>
LayoutCase Case(const char* name, std::size_t bytesPerPair, Reference reference) {
    return {name,
            bytesPerPair,
            reference,
            &WriteCoreBlock<kLayout>,
            &WriteAlphaBlock<kLayout, AlphaUse::kStraight>,
            &WriteAlphaBlock<kLayout, AlphaUse::kPremultiplied>,
            &FillTransparent<kLayout>,
            &ReadCoreBlock<kLayout>,
            &ReadAlphaBlock<kLayout, AlphaUse::kStraight>,
            &ReadAlphaBlock<kLayout, AlphaUse::kPremultiplied>};
}

const LayoutCase kLayouts[] = {
    Case<PackedLayout::k2vuy>("2vuy", 4, &Reference2vuy),
    Case<PackedLayout::kV408>("v408", 8, &ReferenceV408),
    Case<PackedLayout::kR408>("r408", 8, &ReferenceR408),
    Case<PackedLayout::kR4fl>("r4fl", 32, &ReferenceR4fl),
};
constexpr Kind kKinds[] = {Kind::kOpaque, Kind::kStraight, Kind::kPremultiplied};

void Write(const LayoutCase& layout, Kind kind, BYTE* to, LONG stride, const Block& block,
           LONG width, LONG rows) {
    switch (kind) {
        case Kind::kOpaque:
            return layout.core(to, stride, block.data(), width, rows);
        case Kind::kStraight:
            return layout.straight(to, stride, 0xDEAD, 0xBEEF, block.data(), width, rows);
        case Kind::kPremultiplied:
            return layout.premultiplied(to, stride, 0xDEAD, 0xBEEF, block.data(), width, rows);
    }
}

void Read(const LayoutCase& layout, Kind kind, const BYTE* from, LONG stride, Block* block,
          LONG width, LONG rows) {
    switch (kind) {
        case Kind::kOpaque:
            return layout.readCore(from, stride, block->data(), width, rows);
        case Kind::kStraight:
            return layout.readStraight(from, stride, 0, 0, block->data(), width, rows);
        case Kind::kPremultiplied:
            return layout.readPremultiplied(from, stride, 0, 0, block->data(), width, rows);
    }
}

Block RandomBlock(unsigned seed) {
    std::mt19937 random(seed);
    Block block;
    for (BYTE& byte : block) {
        // The ends of the range more often than chance would.
        const unsigned pick = random() % 8;
        byte = static_cast<BYTE>(pick == 0 ? 0 : (pick == 1 ? 255 : random()));
    }
    return block;
}

constexpr BYTE kGuard = 0xA5;

/// A picture of guard bytes, 16 rows of whole blocks with room at both ends.
struct Picture {
    std::vector<BYTE> bytes;
    LONG stride;
    std::size_t first;  // row 0 in processing order

    explicit Picture(bool bottomUp) : bytes(20 * 600, kGuard), stride(600), first(2 * 600) {
        if (bottomUp) {
            stride = -stride;
            first = 17 * 600;
        }
    }
    BYTE* row(int y) {
        return bytes.data() + static_cast<std::ptrdiff_t>(first) + std::ptrdiff_t{y} * stride;
    }
};

TEST(RowWriters, MatchTheScalarReferenceAtEveryWidthAndTouchNothingElse) {
    for (const LayoutCase& layout : kLayouts) {
        for (Kind kind : kKinds) {
            for (LONG width = -1; width <= 16; ++width) {
                const LONG rows = 16 - width / 2;
                const bool bottomUp = width % 3 == 0;
                const Block block = RandomBlock(static_cast<unsigned>(width + 2));
                Picture written(bottomUp);
                Write(layout, kind, written.row(0), written.stride, block, width, rows);
                Picture expected(bottomUp);
                for (int y = 0; y < rows; ++y) {
                    for (int pair = 0; pair < width / 2; ++pair) {
                        const auto bytes = layout.reference(PairAt(block, y, pair), kind);
                        ASSERT_EQ(bytes.size(), layout.bytesPerPair);
                        std::copy(bytes.begin(), bytes.end(),
                                  expected.row(y) + static_cast<std::size_t>(pair) * bytes.size());
                    }
                }
                ASSERT_EQ(written.bytes, expected.bytes)
                    << layout.name << " kind " << static_cast<int>(kind) << " width " << width;
            }
        }
    }
}

TEST(RowWriters, MatchTheScalarReferenceForEverySampleAndAlpha) {
    for (const LayoutCase& layout : kLayouts) {
        for (Kind kind : kKinds) {
            for (int alpha = 0; alpha < 256; ++alpha) {
                for (int sample = 0; sample < 256; sample += 16) {
                    Block block;
                    for (int i = 0; i < 32; ++i) {
                        block[static_cast<std::size_t>(i)] = static_cast<BYTE>(sample + i % 16);
                        block[static_cast<std::size_t>(512 + i)] =
                            static_cast<BYTE>(i % 2 == 0 ? alpha : 255 - alpha);
                    }
                    std::vector<BYTE> row(8 * layout.bytesPerPair);
                    Write(layout, kind, row.data(), 600, block, 16, 1);
                    for (int pair = 0; pair < 8; ++pair) {
                        const auto bytes = layout.reference(PairAt(block, 0, pair), kind);
                        const BYTE* at =
                            row.data() + static_cast<std::size_t>(pair) * layout.bytesPerPair;
                        ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), at))
                            << layout.name << " sample " << sample << " alpha " << alpha;
                    }
                }
            }
        }
    }
}

TEST(RowWriters, NeverReadOrWriteForNoRows) {
    for (const LayoutCase& layout : kLayouts) {
        for (LONG rows : {LONG{0}, LONG{-1}, LONG{-1000}}) {
            layout.core(nullptr, 64, nullptr, 16, rows);
            layout.straight(nullptr, 64, 0, 0, nullptr, 16, rows);
            layout.premultiplied(nullptr, 64, 0, 0, nullptr, 16, rows);
            layout.fill(nullptr, 64, 0, 0, 16, rows);
            layout.readCore(nullptr, 64, nullptr, 16, rows);
        }
    }
}

TEST(RowWriters, StayInsideTheBlockWhenAnEngineAsksForMore) {
    for (const LayoutCase& layout : kLayouts) {
        const Block block = RandomBlock(1);
        std::vector<BYTE> wide(16 * layout.bytesPerPair, kGuard);
        std::vector<BYTE> whole(16 * layout.bytesPerPair, kGuard);
        Write(layout, Kind::kOpaque, wide.data(), 600, block, 32, 1);
        Write(layout, Kind::kOpaque, whole.data(), 600, block, 16, 1);
        EXPECT_EQ(wide, whole) << layout.name;
    }
}

TEST(RowWriters, KeepTheirArithmeticAtTheEnds) {
    Block block = {};
    block[0] = 10;
    block[1] = 250;
    std::vector<BYTE> r408(8);
    WriteCoreBlock<PackedLayout::kR408>(r408.data(), 8, block.data(), 2, 1);
    EXPECT_EQ(r408[1], 0);
    EXPECT_EQ(r408[5], 234);

    block[0] = 255;
    block[1] = 0;
    float r4fl[8];
    WriteCoreBlock<PackedLayout::kR4fl>(reinterpret_cast<BYTE*>(r4fl), 32, block.data(), 2, 1);
    EXPECT_EQ(r4fl[0], 1.0f);
    EXPECT_EQ(r4fl[1], 0.9372549f);
    EXPECT_EQ(r4fl[5], -0.0627451f);

    const Block noise = [] {
        Block samples = RandomBlock(7);
        std::fill(samples.begin() + 512, samples.end(), BYTE{0});
        return samples;
    }();
    std::vector<BYTE> clear(4);
    WriteAlphaBlock<PackedLayout::k2vuy, AlphaUse::kStraight>(clear.data(), 4, 0, 0, noise.data(),
                                                              2, 1);
    EXPECT_EQ(clear, (std::vector<BYTE>{128, 16, 128, 16}));
}

TEST(TransparentFills, StoreTheFixedWords) {
    struct Case {
        const LayoutCase& layout;
        std::vector<DWORD> pair;
    };
    const Case cases[] = {
        {kLayouts[0], {0x10801080}},
        {kLayouts[1], {0x10801080, 0x10801080}},
        {kLayouts[2], {0x80800000, 0x80800000}},
        {kLayouts[3], {0, 0, 0x3F008081, 0x3F008081, 0, 0, 0x3F008081, 0x3F008081}},
    };
    for (const Case& c : cases) {
        const std::size_t bytes = 7 * c.layout.bytesPerPair;
        std::vector<BYTE> rows(2 * 600, kGuard);
        c.layout.fill(rows.data(), 600, 1, 2, 15, 2);
        for (std::size_t y = 0; y < 2; ++y) {
            for (std::size_t at = 0; at < bytes; at += 4) {
                DWORD word;
                std::memcpy(&word, rows.data() + y * 600 + at, 4);
                ASSERT_EQ(word, c.pair[at / 4 % c.pair.size()]) << c.layout.name << " at " << at;
            }
            EXPECT_EQ(rows[y * 600 + bytes], kGuard) << c.layout.name;
        }
    }
}

/// How far a sample may be from what was written, by what the layout can hold.
struct Tolerance {
    int luma;
    int chroma;
    int alpha;
};

void ExpectSame(const Block& got, const Block& want, const Tolerance& tolerance, const char* name,
                bool withAlpha) {
    for (std::size_t row = 0; row < 512; row += 32) {
        for (std::size_t x = 0; x < 32; ++x) {
            const bool luma = x < 16;
            ASSERT_LE(std::abs(got[row + x] - want[row + x]),
                      luma ? tolerance.luma : tolerance.chroma)
                << name << " byte " << row + x;
            if (withAlpha && luma) {
                ASSERT_LE(std::abs(got[512 + row + x] - want[512 + row + x]), tolerance.alpha)
                    << name << " alpha " << row + x;
            }
        }
    }
}

TEST(RowReaders, BringBackWhatTheWritersStored) {
    Block block = RandomBlock(3);
    for (std::size_t i = 0; i < 512; ++i) {
        block[i] = std::max(block[i], BYTE{16});  // below black "r408" keeps nothing
    }
    for (const LayoutCase& layout : kLayouts) {
        const bool alphaChannel = std::strcmp(layout.name, "2vuy") != 0;
        const bool studioAlpha = std::strcmp(layout.name, "v408") == 0;
        for (Kind kind : {Kind::kOpaque, Kind::kStraight}) {
            if (kind == Kind::kStraight && !alphaChannel) {
                continue;
            }
            std::vector<BYTE> picture(16 * 600);
            Write(layout, kind, picture.data(), 600, block, 16, 16);
            Block back = {};
            Read(layout, kind, picture.data(), 600, &back, 16, 16);
            ExpectSame(back, block, {0, 0, studioAlpha ? 1 : 0}, layout.name,
                       kind == Kind::kStraight);
        }
    }
}

TEST(RowReaders, UndoPremultiplyingWithinWhatRoundingAllows) {
    Block block = RandomBlock(5);
    for (std::size_t i = 0; i < 512; ++i) {
        block[i] = std::max(block[i], BYTE{16});
        block[512 + i] = std::max(block[512 + i], BYTE{64});
    }
    for (const LayoutCase& layout : kLayouts) {
        if (std::strcmp(layout.name, "2vuy") == 0) {
            continue;
        }
        std::vector<BYTE> picture(16 * 600);
        Write(layout, Kind::kPremultiplied, picture.data(), 600, block, 16, 16);
        Block back = {};
        Read(layout, Kind::kPremultiplied, picture.data(), 600, &back, 16, 16);
        // A quarter of the range is left at alpha 64: half a step there is two steps here, and
        // "v408" divides by an alpha that is itself rounded.
        const bool studioAlpha = std::strcmp(layout.name, "v408") == 0;
        ExpectSame(back, block, {studioAlpha ? 5 : 3, studioAlpha ? 5 : 3, studioAlpha ? 1 : 0},
                   layout.name, true);
    }
}

TEST(RowReaders, GiveBlackWhereThePictureIsClear) {
    for (const LayoutCase& layout : kLayouts) {
        if (std::strcmp(layout.name, "2vuy") == 0) {
            continue;
        }
        std::vector<BYTE> picture(600);
        layout.fill(picture.data(), 600, 0, 0, 16, 1);
        Block block;
        block.fill(1);
        layout.readPremultiplied(picture.data(), 600, 0, 0, block.data(), 16, 1);
        for (std::size_t x = 0; x < 16; ++x) {
            ASSERT_EQ(block[x], 16) << layout.name;
            ASSERT_EQ(block[16 + x], 128) << layout.name;
            ASSERT_EQ(block[512 + x], 0) << layout.name;
        }
    }
}

TEST(RowReaders, TakeFloatsOfAnyValue) {
    const float wild[] = {std::numeric_limits<float>::quiet_NaN(),
                          std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(),
                          1e30f,
                          -1e30f,
                          0.0f,
                          1.0f,
                          std::numeric_limits<float>::denorm_min()};
    Block block = {};
    for (int rotate = 0; rotate < 8; ++rotate) {
        float pair[8];
        for (int i = 0; i < 8; ++i) {
            pair[i] = wild[(i + rotate) % 8];
        }
        ReadAlphaBlock<PackedLayout::kR4fl, AlphaUse::kStraight>(
            reinterpret_cast<const BYTE*>(pair), 32, 0, 0, block.data(), 2, 1);
        ReadAlphaBlock<PackedLayout::kR4fl, AlphaUse::kPremultiplied>(
            reinterpret_cast<const BYTE*>(pair), 32, 0, 0, block.data(), 2, 1);
    }
    const float notANumber[8] = {1, wild[0], wild[0], wild[1], 1, wild[2], 0, 0};
    ReadCoreBlock<PackedLayout::kR4fl>(reinterpret_cast<const BYTE*>(notANumber), 32, block.data(),
                                       2, 1);
    EXPECT_EQ(block[0], 0);
    EXPECT_EQ(block[1], 0);
    EXPECT_EQ(block[24], 0);
    EXPECT_EQ(block[16], 255);
}

TEST(RowWriters, KeepTheirKnownOutput) {
    // FNV-1a over every writer's output for one block: the arithmetic cannot drift unseen together
    // with its reference.
    DWORD digest = 2166136261u;
    const Block block = RandomBlock(2024);
    for (const LayoutCase& layout : kLayouts) {
        for (Kind kind : kKinds) {
            std::vector<BYTE> picture(16 * 600);
            Write(layout, kind, picture.data(), 600, block, 16, 16);
            for (BYTE byte : picture) {
                digest = (digest ^ byte) * 16777619u;
            }
        }
    }
    EXPECT_EQ(digest, 3041265758u);
}

}  // namespace
}  // namespace nyx
