#include "dv/resample.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

namespace nyx {
namespace {

using Row = std::vector<BYTE>;

/// The formulae, unit by unit with plain products.
Row StretchedRow(const Row& source, int unit, long long s, long long d) {
    Row result;
    for (long long j = 0; j < d; ++j) {
        const long long position = s * 256 - (d - j) * s * 256 / d;
        const long long i = position / 256;
        const long long f = j == d - 1 ? 0 : position % 256;
        const auto at = [&](long long index, int byte) {
            return source.at(static_cast<std::size_t>(std::min(index, s - 1) * unit + byte));
        };
        for (int byte = 0; byte < unit; ++byte) {
            result.push_back(
                static_cast<BYTE>((at(i, byte) * (256 - f) + at(i + 1, byte) * f) / 256));
        }
    }
    return result;
}

Row SqueezedRow(const Row& source, int unit, long long s, long long d) {
    Row result;
    long long k = 0;
    long long weight = 256;
    for (long long j = 0; j < d; ++j) {
        const long long end = s * 256 - (d - 1 - j) * s * 256 / d;
        const long long f = end % 256;
        long long taken = 0;  // units wholly consumed
        while (end > (k + taken + 1) * 256) {
            ++taken;
        }
        for (int byte = 0; byte < unit; ++byte) {
            const auto at = [&](long long index) {
                return source.at(static_cast<std::size_t>(index * unit + byte));
            };
            long long sum = at(k) * weight;
            long long weights = weight;
            for (long long n = 1; n <= taken; ++n) {
                const long long w = n == taken ? f : 256;
                sum += at(k + n) * w;
                weights += w;
            }
            result.push_back(static_cast<BYTE>(sum / weights));
        }
        k += taken + (f == 0 ? 1 : 0);
        weight = 256 - f;
    }
    return result;
}

using Resample = HRESULT (*)(ResampleUnit, const UnitRows<const BYTE>&, const UnitRows<BYTE>&,
                             LONG);
using ReferenceRow = Row (*)(const Row&, int, long long, long long);

constexpr std::size_t kGuard = 64;
constexpr BYTE kGuardByte = 0xA5;

/// Runs `resample` on random rows, checks each row against `reference` and that nothing else was
/// written; the source rows end where their allocation ends, for the sanitizer to see.
void CheckPicture(Resample resample, ReferenceRow reference, int unit, LONG s, LONG d, LONG rows,
                  int gap, bool bottomUp, const std::function<BYTE()>& value) {
    SCOPED_TRACE(testing::Message() << s << " to " << d << " units of " << unit << " bytes, "
                                    << rows << " rows, gap " << gap << ", bottom-up " << bottomUp);
    const LONG sourceStride = s * unit + gap;
    const LONG destinationStride = d * unit + gap;
    Row source(static_cast<std::size_t>(sourceStride * rows - gap));
    for (BYTE& byte : source) {
        byte = value();
    }
    Row destination(kGuard + static_cast<std::size_t>(destinationStride * rows - gap) + kGuard,
                    kGuardByte);
    Row expected = destination;
    for (LONG row = 0; row < rows; ++row) {
        const BYTE* from = source.data() + row * sourceStride;
        const Row line = reference(Row(from, from + s * unit), unit, s, d);
        std::copy(line.begin(), line.end(),
                  expected.begin() + static_cast<LONG>(kGuard) + row * destinationStride);
    }
    UnitRows<const BYTE> in{source.data(), sourceStride, s};
    UnitRows<BYTE> out{destination.data() + kGuard, destinationStride, d};
    if (bottomUp) {
        in.data += (rows - 1) * sourceStride;
        in.stride = -sourceStride;
        out.data += (rows - 1) * destinationStride;
        out.stride = -destinationStride;
    }
    ASSERT_EQ(resample(static_cast<ResampleUnit>(unit), in, out, rows), S_OK);
    ASSERT_EQ(destination, expected);
}

struct Widths {
    LONG narrow;
    LONG wide;
};
constexpr Widths kWidths[] = {
    {720, 856}, {720, 1024}, {360, 428}, {360, 512},                     // the product's own
    {1, 2},     {1, 3},      {1, 300},   {2, 3},     {3, 4},   {5, 11},  // ends of rows
    {127, 128}, {128, 129},  {255, 257}, {100, 299}, {7, 100}, {719, 720}};

void CheckWidths(Resample resample, ReferenceRow reference, bool enlarge) {
    std::mt19937 random(7);
    const auto noise = [&random] { return static_cast<BYTE>(random()); };
    const auto extremes = [&random] { return static_cast<BYTE>(random() % 2 ? 255 : 0); };
    for (const Widths& widths : kWidths) {
        const LONG s = enlarge ? widths.narrow : widths.wide;
        const LONG d = enlarge ? widths.wide : widths.narrow;
        for (const int unit : {3, 4}) {
            CheckPicture(resample, reference, unit, s, d, 3, 0, false, noise);
            CheckPicture(resample, reference, unit, s, d, 2, 5, true, noise);
            CheckPicture(resample, reference, unit, s, d, 8, 0, false, extremes);
        }
    }
}

TEST(Resample, StretchFollowsItsFormulaAtEveryWidth) {
    CheckWidths(StretchRows, StretchedRow, true);
}

TEST(Resample, SqueezeFollowsItsFormulaAtEveryWidth) {
    CheckWidths(SqueezeRows, SqueezedRow, false);
}

TEST(Resample, KnownRows) {
    const BYTE source[] = {0, 10, 20, 30, 100, 110, 120, 130};
    BYTE stretched[12] = {};
    ASSERT_EQ(StretchRows(ResampleUnit::kFourBytes, {source, 8, 2}, {stretched, 12, 3}, 1), S_OK);
    // Positions 0, 171/256 and 342/256: a copy, a blend, and the last unit copied.
    const BYTE expectedStretch[] = {0, 10, 20, 30, 66, 76, 86, 96, 100, 110, 120, 130};
    EXPECT_TRUE(std::equal(std::begin(stretched), std::end(stretched), expectedStretch));

    const BYTE wide[] = {0, 0, 0, 90, 90, 90, 240, 240, 240};
    BYTE squeezed[6] = {};
    ASSERT_EQ(SqueezeRows(ResampleUnit::kThreeBytes, {wide, 9, 3}, {squeezed, 6, 2}, 1), S_OK);
    // Footprints end at 384 (half of the middle unit) and at 768, exactly after the last unit.
    const BYTE expectedSqueeze[] = {30, 30, 30, 90, 90, 90};
    EXPECT_TRUE(std::equal(std::begin(squeezed), std::end(squeezed), expectedSqueeze));
}

TEST(Resample, ArgumentsThatDoNotFitAreRefused) {
    BYTE from[16] = {};
    BYTE to[16];
    std::fill(std::begin(to), std::end(to), kGuardByte);
    struct Case {
        Resample resample;
        UnitRows<const BYTE> source;
        UnitRows<BYTE> destination;
        LONG rows;
    };
    const Case cases[] = {
        {StretchRows, {nullptr, 12, 3}, {to, 16, 4}, 1},
        {StretchRows, {from, 12, 3}, {nullptr, 16, 4}, 1},
        {StretchRows, {from, 12, 0}, {to, 16, 4}, 1},
        {StretchRows, {from, 12, -1}, {to, 16, 4}, 1},
        {StretchRows, {from, 11, 3}, {to, 16, 4}, 1},
        {StretchRows, {from, 12, 3}, {to, -15, 4}, 1},
        {StretchRows, {from, 12, 3}, {to, 16, 3}, 1},
        {StretchRows, {from, 12, 3}, {to, 16, 4}, 0},
        {StretchRows, {from, 12, 0x7FFFFFFF}, {to, 16, 4}, 1},
        {SqueezeRows, {from, 16, 4}, {to, 12, 4}, 1},
        {SqueezeRows, {from, 16, 4}, {to, 16, 4}, 1},
        {SqueezeRows, {from, 16, 4}, {to, 12, 0}, 1},
        {SqueezeRows, {from, 16, 4}, {to, 12, 3}, -1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.resample(ResampleUnit::kFourBytes, c.source, c.destination, c.rows), E_FAIL)
            << &c - cases;
        EXPECT_EQ(std::count(std::begin(to), std::end(to), kGuardByte), 16);
    }
    EXPECT_EQ(StretchRows(ResampleUnit::kFourBytes, {from, 12, 3}, {to, 16, 4}, 1), S_OK);
    EXPECT_EQ(SqueezeRows(ResampleUnit::kFourBytes, {from, 16, 4}, {to, 12, 3}, 1), S_OK);
}

}  // namespace
}  // namespace nyx
