#include "convert/coefficients.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/convert/pairs.h"

namespace nyx::test {
namespace {

/// The published luma weights of the three standards, and what follows from them alone.
struct Derived {
    double luma, vToR, uToG, vToG, uToB, kr, kg, kb;
};

Derived Derive(LONG matrix, double rgbSpan) {
    const double kr = matrix == kMatrixBt601 ? 0.299 : matrix == kMatrixBt709 ? 0.2126 : 0.2627;
    const double kb = matrix == kMatrixBt601 ? 0.114 : matrix == kMatrixBt709 ? 0.0722 : 0.0593;
    const double kg = 1 - kr - kb;
    const double scale = rgbSpan / 224;
    const double vToR = 2 * (1 - kr) * scale;
    const double uToB = 2 * (1 - kb) * scale;
    return {rgbSpan / 219, vToR, -uToB * kb / kg, -vToR * kr / kg, uToB, kr, kg, kb};
}

double SpanOf(LONG range) {
    return range == kFullRange ? 255 : 219;
}

TEST(Coefficients, EveryTabulatedGainIsTheRoundedRule) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            const Derived real = Derive(matrix, SpanOf(range));
            const CoefficientBlock block = YuvToRgb8Coefficients(matrix, range, 8);
            EXPECT_EQ(block.luma, std::lround(real.luma * 16384)) << matrix << range;
            EXPECT_EQ(block.vToR, std::lround(real.vToR * 8192)) << matrix << range;
            EXPECT_EQ(block.uToG, std::lround(real.uToG * 8192)) << matrix << range;
            EXPECT_EQ(block.vToG, std::lround(real.vToG * 8192)) << matrix << range;
            EXPECT_EQ(block.uToB, std::lround(real.uToB * 8192)) << matrix << range;
        }
    }
}

TEST(Coefficients, EveryOffsetIsTheRuleToOneUnit) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            for (LONG bits : {8, 10}) {
                const Derived real = Derive(matrix, SpanOf(range));
                const double chroma[] = {real.vToR, real.uToG + real.vToG, real.uToB};
                const CoefficientBlock block = YuvToRgb8Coefficients(matrix, range, bits);
                for (int c = 0; c < 3; ++c) {
                    const double offset =
                        0.5 + (range == kFullRange ? 0 : 16) - 16 * real.luma - 128 * chroma[c];
                    EXPECT_NEAR(block.offset[c], offset * (bits == 8 ? 16384 : 65536), 0.7);
                }
            }
        }
    }
}

TEST(Coefficients, StoredOffsetsStandAsTheyAre) {
    struct Stored {
        LONG matrix, range, bits, r, g, b;
    };
    constexpr Stored kStored[] = {
        {kMatrixBt601, kFullRange, 8, -3644155, 2229458, -4527487},
        {kMatrixBt601, kStudioRange, 8, -2866386, 2178011, -3625012},
        {kMatrixBt601, kFullRange, 10, -14576620, 8917831, -18109947},
        {kMatrixBt601, kStudioRange, 10, -11465542, 8712045, -14500046},
        {kMatrixBt709, kFullRange, 10, -16226779, 5071050, -18908287},
        {kMatrixBt2020, kFullRange, 10, -15269916, 5839383, -19154665},
    };
    for (const Stored& stored : kStored) {
        const CoefficientBlock block =
            YuvToRgb8Coefficients(stored.matrix, stored.range, stored.bits);
        EXPECT_EQ(block.offset[0], stored.r);
        EXPECT_EQ(block.offset[1], stored.g);
        EXPECT_EQ(block.offset[2], stored.b);
    }
}

TEST(Coefficients, EightBitGainsFitTheMultiplication) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            const CoefficientBlock block = YuvToRgb8Coefficients(matrix, range, 8);
            for (std::int32_t gain : {block.luma, block.vToR, block.uToG, block.vToG, block.uToB}) {
                EXPECT_EQ(gain, static_cast<std::int16_t>(gain));
            }
        }
    }
}

TEST(Coefficients, TheReverseBlocksFollowFromTheWeights) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            const double span = SpanOf(range);
            const Derived k = Derive(matrix, span);
            const ReverseCoefficientBlock block = RgbToYuvCoefficients(matrix, range, 8, 8);
            const double luma = 219 / span * 32768;
            const double chroma = 224 / span * 32768;
            EXPECT_EQ(block.y.b, std::lround(k.kb * luma));
            EXPECT_EQ(block.y.g, std::lround(k.kg * luma));
            EXPECT_EQ(block.y.r, std::lround(k.kr * luma));
            EXPECT_EQ(block.u.b, std::lround(0.5 * chroma));
            EXPECT_EQ(block.u.g, std::lround(-k.kg / (2 * (1 - k.kb)) * chroma));
            EXPECT_EQ(block.u.r, std::lround(-k.kr / (2 * (1 - k.kb)) * chroma));
            EXPECT_EQ(block.v.b, std::lround(-k.kb / (2 * (1 - k.kr)) * chroma));
            EXPECT_EQ(block.v.g, std::lround(-k.kg / (2 * (1 - k.kr)) * chroma));
            EXPECT_EQ(block.v.r, std::lround(0.5 * chroma));
            EXPECT_EQ(block.y.offset, range == kFullRange ? 33 * 16384 : 16384);
            EXPECT_EQ(block.u.offset, 257 * 16384);
            EXPECT_EQ(block.v.offset, 257 * 16384);
        }
    }
}

TEST(Coefficients, TheFixedReverseBlockStandsAsItIs) {
    const ReverseCoefficientBlock block = RgbToYuvCoefficients(kMatrixBt601, kStudioRange, 8, 8);
    const ReverseRow* rows[] = {&block.y, &block.u, &block.v};
    constexpr std::int32_t kFixed[3][4] = {{3736, 19235, 9798, 16384},
                                           {16758, -11103, -5655, 4210688},
                                           {-2725, -14033, 16758, 4210688}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rows[i]->b, kFixed[i][0]);
        EXPECT_EQ(rows[i]->g, kFixed[i][1]);
        EXPECT_EQ(rows[i]->r, kFixed[i][2]);
        EXPECT_EQ(rows[i]->offset, kFixed[i][3]);
    }
}

}  // namespace
}  // namespace nyx::test
