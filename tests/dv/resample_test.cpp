#include "dv/resample.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/frames.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

/// One byte of output unit `j` of `d`, from `s` units whose bytes begin `row`.
long long Stretched(const BYTE* row, LONG unit, long long s, long long d, long long j) {
    const long long position = s * 256 - (d - j) * s * 256 / d;
    const long long i = std::min(position / 256, s - 1);
    const long long f = j == d - 1 ? 0 : position % 256;
    return (row[i * unit] * (256 - f) + row[std::min(i + 1, s - 1) * unit] * f) / 256;
}

/// The average over what lies between the ends of two footprints; a unit in which one ends exactly
/// has no weight in it.
long long Squeezed(const BYTE* row, LONG unit, long long s, long long d, long long j) {
    const auto end = [=](long long of) { return s * 256 - (d - 1 - of) * s * 256 / d; };
    const long long from = j == 0 ? 0 : end(j - 1), last = (end(j) - 1) / 256;
    long long sum = 0, weights = 0;
    for (long long i = from / 256; i <= last; ++i) {
        const long long inLast = i == last ? end(j) % 256 : 256;
        const long long weight = i == from / 256 ? 256 - from % 256 : inLast;
        sum += row[i * unit] * weight;
        weights += weight;
    }
    return sum / weights;
}

constexpr LONG kWidths[][2] = {
    {720, 856}, {720, 1024}, {360, 428}, {360, 512},           // the product's own
    {1, 2},     {1, 300},    {2, 3},     {3, 4},     {5, 11},  // ends of rows
    {127, 128}, {128, 129},  {255, 257}, {100, 299}, {7, 100}};

/// Three rows of noise or of extremes that end at inaccessible memory, with gaps or without.
TEST(Resample, BothWaysFollowTheirFormulaAtEveryWidth) {
    for (std::size_t i = 0; i < 8 * std::size(kWidths); ++i) {
        const auto [narrow, wide] = kWidths[i / 8];
        const bool stretch = i % 2 != 0, bottomUp = i % 4 >= 2;
        const LONG unit = i % 8 < 4 ? 3 : 4, gap = bottomUp ? 5 : 0;
        const LONG s = stretch ? narrow : wide, d = stretch ? wide : narrow;
        const LONG fromStride = s * unit + gap, toStride = d * unit + gap;
        const GuardedMemory from(static_cast<std::size_t>(fromStride * 3 - gap));
        const GuardedMemory to(static_cast<std::size_t>(toStride * 3 - gap), 0xA5);
        std::generate_n(from.data(), from.size(), [&, random = std::mt19937(7)]() mutable {
            return static_cast<BYTE>(bottomUp ? random() % 2 * 255 : random());
        });
        Bytes expected(to.size(), 0xA5);
        for (LONG at = 0; at < 3 * d * unit; ++at) {
            const LONG y = at / (d * unit), j = at % (d * unit) / unit, byte = at % unit;
            const BYTE* row = from.data() + y * fromStride + byte;
            expected[static_cast<std::size_t>(y * toStride + j * unit + byte)] =
                static_cast<BYTE>((stretch ? Stretched : Squeezed)(row, unit, s, d, j));
        }
        const LONG first = bottomUp ? 2 : 0, sign = bottomUp ? -1 : 1;
        ASSERT_EQ((stretch ? StretchRows : SqueezeRows)(
                      static_cast<ResampleUnit>(unit),
                      {from.data() + first * fromStride, sign * fromStride, s},
                      {to.data() + first * toStride, sign * toStride, d}, 3),
                  S_OK);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), to.data()))
            << s << " to " << d << " units of " << unit << " bytes, bottom-up " << bottomUp;
    }
}

TEST(Resample, ArgumentsThatDoNotFitAreRefused) {
    BYTE from[16] = {}, to[16] = {};
    constexpr auto kUnit = ResampleUnit::kFourBytes;
    constexpr LONG kRefused[][5] = {{12, 0, 16, 4, 1},  {11, 3, 16, 4, 1},
                                    {12, 3, -15, 4, 1}, {12, 3, 16, 3, 1},
                                    {12, 3, 16, 4, 0},  {12, 0x7FFFFFFF, 16, 4, 1}};
    for (const auto& [stride, width, otherStride, otherWidth, rows] : kRefused) {
        EXPECT_EQ(StretchRows(kUnit, {from, stride, width}, {to, otherStride, otherWidth}, rows),
                  E_FAIL);
        EXPECT_EQ(SqueezeRows(kUnit, {from, otherStride, otherWidth}, {to, stride, width}, rows),
                  E_FAIL);
    }
    EXPECT_EQ(StretchRows(kUnit, {nullptr, 12, 3}, {to, 16, 4}, 1), E_FAIL);
    EXPECT_EQ(StretchRows(kUnit, {from, 12, 3}, {nullptr, 16, 4}, 1), E_FAIL);
}

}  // namespace
}  // namespace nyx::test
