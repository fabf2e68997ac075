#include "convert/coefficients.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/convert/pairs.h"

namespace nyx::test {
namespace {

long Fixed(double value, int fractionalBits) {
    return std::lround(std::ldexp(value, fractionalBits));
}

/// Calls `check(matrix, range, weights, span of RGB in 8-bit codes)`.
template <class Check>
void ForEachMatrixAndRange(Check check) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            SCOPED_TRACE(testing::Message() << "matrix " << matrix << " range " << range);
            check(matrix, range, WeightsOf(matrix), range == kFullRange ? 255.0 : 219.0);
        }
    }
}

/// Three offsets stand one below what the rule rounds to.
int BelowTheRule(LONG matrix, LONG range, LONG bits, int channel) {
    const bool studio8 = range == kStudioRange && bits == 8 && channel != 1;
    const bool full10 = range == kFullRange && bits == 10 && channel == 2;
    return matrix == kMatrixBt601 && (studio8 || full10) ? 1 : 0;
}

TEST(Coefficients, EightBitRgbFollowsFromTheLumaWeights) {
    ForEachMatrixAndRange([](LONG matrix, LONG range, const Weights& k, double span) {
        const double luma = span / 219;
        const double vToR = 2 * (1 - k.kr) * span / 224;
        const double uToB = 2 * (1 - k.kb) * span / 224;
        const double uToG = -uToB * k.kb / k.kg;
        const double vToG = -vToR * k.kr / k.kg;
        const double chroma[] = {vToR, uToG + vToG, uToB};
        for (LONG bits : {8, 10}) {
            const CoefficientBlock block = YuvToRgb8Coefficients(matrix, range, bits);
            EXPECT_EQ(block.luma, Fixed(luma, 14));
            EXPECT_EQ(block.vToR, Fixed(vToR, 13));
            EXPECT_EQ(block.uToG, Fixed(uToG, 13));
            EXPECT_EQ(block.vToG, Fixed(vToG, 13));
            EXPECT_EQ(block.uToB, Fixed(uToB, 13));
            for (int c = 0; c < 3; ++c) {
                const double black = range == kFullRange ? 0 : 16;
                const double offset = 0.5 + black - 16 * luma - 128 * chroma[c];
                EXPECT_EQ(block.offset[c] + BelowTheRule(matrix, range, bits, c),
                          Fixed(offset, bits == 8 ? 14 : 16));
            }
        }
    });
}

TEST(Coefficients, TheReverseBlocksFollowFromTheLumaWeights) {
    ForEachMatrixAndRange([](LONG matrix, LONG range, const Weights& k, double span) {
        const ReverseCoefficientBlock block = RgbToYuvCoefficients(matrix, range, 8, 8);
        const auto expectRow = [](const ReverseRow& row, double b, double g, double r,
                                  std::int32_t offset) {
            EXPECT_EQ(row.b, Fixed(b, 15));
            EXPECT_EQ(row.g, Fixed(g, 15));
            EXPECT_EQ(row.r, Fixed(r, 15));
            EXPECT_EQ(row.offset, offset);
        };
        const double y = 219 / span;
        const double u = 224 / span / (2 * (1 - k.kb));
        const double v = 224 / span / (2 * (1 - k.kr));
        expectRow(block.y, k.kb * y, k.kg * y, k.kr * y, range == kFullRange ? 33 * 16384 : 16384);
        expectRow(block.u, (1 - k.kb) * u, -k.kg * u, -k.kr * u, 257 * 16384);
        expectRow(block.v, -k.kb * v, -k.kg * v, (1 - k.kr) * v, 257 * 16384);
    });
}

}  // namespace
}  // namespace nyx::test
