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

using Writer = void (*)(BYTE* to, LONG stride, const BYTE* block, LONG width, LONG rows);
using Reader = void (*)(const BYTE* from, LONG stride, BYTE* block, LONG width, LONG rows);

/// One layout with everything an engine may call for it, by kind. The words that the callbacks do
/// not look at are arbitrary here.
struct LayoutCase {
    const char* name;
    std::size_t bytesPerPair;
    Reference reference;
    std::vector<DWORD> clearPair;
    Writer write[3];
    Reader read[3];
    void (*fill)(BYTE*, LONG, DWORD, DWORD, LONG, LONG);

    bool HasAlpha() const { return bytesPerPair != 4; }
    /// Where alpha is kept in the studio range, and so rounded.
    bool RoundsAlpha() const { return std::strcmp(name, "v408") == 0; }
};

template <PackedLayout kLayout, AlphaUse kAlpha>
void WriteAlpha(BYTE* to, LONG stride, const BYTE* block, LONG width, LONG rows) {
    WriteAlphaBlock<kLayout, kAlpha>(to, stride, 0xDEAD, 0xBEEF, block, width, rows);
}

template <PackedLayout kLayout, AlphaUse kAlpha>
void ReadAlpha(const BYTE* from, LONG stride, BYTE* block, LONG width, LONG rows) {
    ReadAlphaBlock<kLayout, kAlpha>(from, stride, 0xDEAD, 0xBEEF, block, width, rows);
}

template <PackedLayout kLayout>
LayoutCase Case(const char* name, std::size_t bytesPerPair, Reference reference,
                std::vector<DWORD> clearPair) {
    return {name,
            bytesPerPair,
            reference,
            std::move(clearPair),
            {&WriteCoreBlock<kLayout>, &WriteAlpha<kLayout, AlphaUse::kStraight>,
             &WriteAlpha<kLayout, AlphaUse::kPremultiplied>},
            {&ReadCoreBlock<kLayout>, &ReadAlpha<kLayout, AlphaUse::kStraight>,
             &ReadAlpha<kLayout, AlphaUse::kPremultiplied>},
            &FillTransparent<kLayout>};
}

const LayoutCase kLayouts[] = {
    Case<PackedLayout::k2vuy>("2vuy", 4, &Reference2vuy, {0x10801080}),
    Case<PackedLayout::kV408>("v408", 8, &ReferenceV408, {0x10801080, 0x10801080}),
    Case<PackedLayout::kR408>("r408", 8, &ReferenceR408, {0x80800000, 0x80800000}),
    Case<PackedLayout::kR4fl>("r4fl", 32, &ReferenceR4fl,
                              {0, 0, 0x3F008081, 0x3F008081, 0, 0, 0x3F008081, 0x3F008081}),
};
constexpr Kind kKinds[] = {Kind::kOpaque, Kind::kStraight, Kind::kPremultiplied};

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

void ExpectReference(const LayoutCase& layout, Kind kind, const Block& block, LONG width, LONG rows,
                     bool bottomUp) {
    Picture written(bottomUp);
    layout.write[static_cast<int>(kind)](written.row(0), written.stride, block.data(), width, rows);
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

TEST(RowWriters, MatchTheScalarReferenceAtEveryWidthAndTouchNothingElse) {
    for (const LayoutCase& layout : kLayouts) {
        for (Kind kind : kKinds) {
            for (LONG width = -1; width <= 16; ++width) {
                ExpectReference(layout, kind, RandomBlock(static_cast<unsigned>(width + 2)), width,
                                16 - width / 2, width % 3 == 0);
            }
        }
    }
}

TEST(RowWriters, MatchTheScalarReferenceForEverySampleAndAlpha) {
    for (const LayoutCase& layout : kLayouts) {
        for (Kind kind : kKinds) {
            for (int alpha = 0; alpha < 256; ++alpha) {
                // 256 samples in 16 rows.
                Block block;
                for (std::size_t i = 0; i < 512; ++i) {
                    block[i] = static_cast<BYTE>(i / 32 * 16 + i % 16);
                    block[512 + i] = static_cast<BYTE>(i % 2 == 0 ? alpha : 255 - alpha);
                }
                ExpectReference(layout, kind, block, 16, 16, false);
                ASSERT_FALSE(testing::Test::HasFatalFailure()) << "alpha " << alpha;
            }
        }
    }
}

TEST(RowWriters, NeverReadOrWriteForNoRows) {
    for (const LayoutCase& layout : kLayouts) {
        for (LONG rows : {LONG{0}, LONG{-1}, LONG{-1000}}) {
            for (int kind = 0; kind < 3; ++kind) {
                layout.write[kind](nullptr, 64, nullptr, 16, rows);
                layout.read[kind](nullptr, 64, nullptr, 16, rows);
            }
            layout.fill(nullptr, 64, 0, 0, 16, rows);
        }
    }
}

TEST(RowWriters, StayInsideTheBlockWhenAnEngineAsksForMore) {
    const Block block = RandomBlock(1);
    for (const LayoutCase& layout : kLayouts) {
        std::vector<BYTE> wide(16 * layout.bytesPerPair, kGuard);
        std::vector<BYTE> whole = wide;
        layout.write[0](wide.data(), 600, block.data(), 32, 1);
        layout.write[0](whole.data(), 600, block.data(), 16, 1);
        EXPECT_EQ(wide, whole) << layout.name;
    }
}

TEST(TransparentFills, StoreTheFixedWordsOverAnyWidth) {
    for (const LayoutCase& layout : kLayouts) {
        for (const LONG width : {1, 15, 32}) {
            const auto bytes = static_cast<std::size_t>(width / 2) * layout.bytesPerPair;
            std::vector<BYTE> rows(2 * 600, kGuard);
            layout.fill(rows.data(), 600, 1, 2, width, 2);
            for (std::size_t y = 0; y < 2; ++y) {
                for (std::size_t at = 0; at < bytes; at += 4) {
                    DWORD word;
                    std::memcpy(&word, rows.data() + y * 600 + at, 4);
                    ASSERT_EQ(word, layout.clearPair[at / 4 % layout.clearPair.size()])
                        << layout.name << " at " << at;
                }
                EXPECT_EQ(rows[y * 600 + bytes], kGuard) << layout.name;
            }
        }
    }
}

/// Writes and reads 16 rows; samples may come back so far from what was written.
void ExpectRoundTrip(const LayoutCase& layout, Kind kind, const Block& block, int tolerance) {
    const int index = static_cast<int>(kind);
    std::vector<BYTE> picture(16 * 600);
    layout.write[index](picture.data(), 600, block.data(), 16, 16);
    Block back = {};
    layout.read[index](picture.data(), 600, back.data(), 16, 16);
    if (tolerance == 0) {
        std::vector<BYTE> again(picture.size());
        layout.write[index](again.data(), 600, back.data(), 16, 16);
        ASSERT_EQ(again, picture) << layout.name;
    }
    for (std::size_t i = 0; i < 512; ++i) {
        ASSERT_NEAR(back[i], block[i], tolerance) << layout.name << " byte " << i;
        if (kind != Kind::kOpaque && i % 32 < 16) {
            ASSERT_NEAR(back[512 + i], block[512 + i], layout.RoundsAlpha() ? 1 : 0)
                << layout.name << " alpha " << i;
        }
    }
}

TEST(RowReaders, BringBackWhatTheWritersStoredWithinWhatRoundingAllows) {
    Block block = RandomBlock(3);
    for (std::size_t i = 0; i < 512; ++i) {
        block[i] = std::max(block[i], BYTE{16});  // below black "r408" keeps nothing
    }
    // A quarter of the range is left at alpha 64: half a step there is two steps here, and "v408"
    // divides by an alpha that is itself rounded.
    Block visible = block;
    for (std::size_t i = 512; i < visible.size(); ++i) {
        visible[i] = std::max(visible[i], BYTE{64});
    }
    for (const LayoutCase& layout : kLayouts) {
        ExpectRoundTrip(layout, Kind::kOpaque, block, 0);
        if (layout.HasAlpha()) {
            ExpectRoundTrip(layout, Kind::kStraight, block, 0);
            ExpectRoundTrip(layout, Kind::kPremultiplied, visible, layout.RoundsAlpha() ? 5 : 3);
        }
    }
}

TEST(RowReaders, GiveBlackWhereThePictureIsClear) {
    for (const LayoutCase& layout : kLayouts) {
        if (!layout.HasAlpha()) {
            continue;
        }
        std::vector<BYTE> picture(600);
        layout.fill(picture.data(), 600, 0, 0, 16, 1);
        Block block;
        block.fill(1);
        layout.read[2](picture.data(), 600, block.data(), 16, 1);
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
    const LayoutCase& floats = kLayouts[3];
    Block block = {};
    for (int rotate = 0; rotate < 8; ++rotate) {
        float pair[8];
        std::rotate_copy(wild, wild + rotate, wild + 8, pair);
        floats.read[1](reinterpret_cast<const BYTE*>(pair), 32, block.data(), 2, 1);
        floats.read[2](reinterpret_cast<const BYTE*>(pair), 32, block.data(), 2, 1);
    }
    const float notANumber[8] = {1, wild[0], wild[0], wild[1], 1, wild[2], 0, 0};
    floats.read[0](reinterpret_cast<const BYTE*>(notANumber), 32, block.data(), 2, 1);
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
            layout.write[static_cast<int>(kind)](picture.data(), 600, block.data(), 16, 16);
            for (BYTE byte : picture) {
                digest = (digest ^ byte) * 16777619u;
            }
        }
    }
    EXPECT_EQ(digest, 3041265758u);
}

}  // namespace
}  // namespace nyx
