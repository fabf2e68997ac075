#include "convert/coefficients.h"

#include <algorithm>
#include <cmath>

namespace nyx {
namespace {

/// Luma weights of red and blue: ITU-R BT.601, BT.709 and BT.2020 (non-constant luminance).
struct LumaWeights {
    LONG matrix;
    double kr;
    double kb;
};
constexpr LumaWeights kLumaWeights[] = {
    {kMatrixBt601, 0.299, 0.114},
    {kMatrixBt709, 0.2126, 0.0722},
    {kMatrixBt2020, 0.2627, 0.0593},
};

/// Studio codes of luma and chroma, and of studio-range RGB, in 8-bit codes (ITU-R BT.601).
constexpr double kBlackCode = 16;
constexpr double kLumaSpan = 219;
constexpr double kChromaSpan = 224;
constexpr double kChromaMid = 128;

struct GainRow {
    LONG matrix;
    LONG range;
    std::int32_t luma, vToR, uToG, vToG, uToB;
};
constexpr GainRow kGains[] = {
    {kMatrixBt601, kFullRange, 19077, 13075, -3209, -6660, 16525},
    {kMatrixBt709, kFullRange, 19077, 14686, -1747, -4366, 17305},
    {kMatrixBt2020, kFullRange, 19077, 13752, -1535, -5328, 17545},
    {kMatrixBt601, kStudioRange, 16384, 11229, -2756, -5720, 14192},
    {kMatrixBt709, kStudioRange, 16384, 12613, -1500, -3749, 14862},
    {kMatrixBt2020, kStudioRange, 16384, 11810, -1318, -4576, 15068},
};

/// Fixed offsets: three of them are one below the rounded result of the rule.
struct OffsetRow {
    LONG matrix;
    LONG range;
    LONG sourceBits;
    std::int32_t offset[3];
};
constexpr OffsetRow kOffsets[] = {
    {kMatrixBt601, kFullRange, 8, {-3644155, 2229458, -4527487}},
    {kMatrixBt601, kStudioRange, 8, {-2866386, 2178011, -3625012}},
    {kMatrixBt601, kFullRange, 10, {-14576620, 8917831, -18109947}},
    {kMatrixBt601, kStudioRange, 10, {-11465542, 8712045, -14500046}},
    {kMatrixBt709, kFullRange, 10, {-16226779, 5071050, -18908287}},
    {kMatrixBt2020, kFullRange, 10, {-15269916, 5839383, -19154665}},
};

/// The fixed reverse block: studio-range 8-bit RGB to 8-bit BT.601.
constexpr ReverseCoefficientBlock kReverseBt601Studio = {
    {3736, 19235, 9798, 16384},
    {16758, -11103, -5655, 4210688},
    {-2725, -14033, 16758, 4210688},
};

/// Black and white of an RGB channel, in 8-bit codes.
struct CodeRange {
    double black;
    double white;
    [[nodiscard]] double Span() const { return white - black; }
};

CodeRange ChannelRange(LONG range, LONG bits) {
    if (range == kStudioRange) {
        return {kBlackCode, kBlackCode + kLumaSpan};
    }
    const double codesPerEightBitCode = std::ldexp(1.0, bits - 8);
    return {0, (std::ldexp(1.0, bits) - 1) / codesPerEightBitCode};
}

LumaWeights WeightsOf(LONG matrix) {
    for (const LumaWeights& row : kLumaWeights) {
        if (row.matrix == matrix) {
            return row;
        }
    }
    return {};
}

std::int32_t ToFixed(double value, int fractionalBits) {
    return static_cast<std::int32_t>(std::lround(std::ldexp(value, fractionalBits)));
}

/// The gains as real numbers: output codes per input code.
struct RealGains {
    double luma, vToR, uToG, vToG, uToB;
};

RealGains GainsByRule(LONG matrix, CodeRange output) {
    const LumaWeights k = WeightsOf(matrix);
    const double kg = 1 - k.kr - k.kb;
    const double scale = output.Span() / kChromaSpan;
    const double vToR = 2 * (1 - k.kr) * scale;
    const double uToB = 2 * (1 - k.kb) * scale;
    return {output.Span() / kLumaSpan, vToR, -uToB * k.kb / kg, -vToR * k.kr / kg, uToB};
}

const std::int32_t* TabulatedOffsets(LONG matrix, LONG range, LONG sourceBits) {
    for (const OffsetRow& row : kOffsets) {
        if (row.matrix == matrix && row.range == range && row.sourceBits == sourceBits) {
            return row.offset;
        }
    }
    return nullptr;
}

/// offset = half + pedestal - 16 luma - 128 (sum of the channel's chroma gains).
void FillOffsets(CoefficientBlock& block, const RealGains& gains, double half, double pedestal,
                 int fractionalBits) {
    const double chroma[] = {gains.vToR, gains.uToG + gains.vToG, gains.uToB};
    for (int channel = 0; channel < 3; ++channel) {
        block.offset[channel] =
            ToFixed(half + pedestal - kBlackCode * gains.luma - kChromaMid * chroma[channel],
                    fractionalBits);
    }
}

}  // namespace

bool IsMatrixId(LONG matrix) {
    return matrix >= kMatrixBt601 && matrix <= kMatrixBt2020;
}

bool IsRangeVariant(LONG range) {
    return range == kStudioRange || range == kFullRange;
}

CoefficientBlock YuvToRgb8Coefficients(LONG matrix, LONG range, LONG sourceBits) {
    CoefficientBlock block{};
    for (const GainRow& row : kGains) {
        if (row.matrix == matrix && row.range == range) {
            block = {row.luma, row.vToR, row.uToG, row.vToG, row.uToB, {}};
        }
    }
    if (const std::int32_t* offsets = TabulatedOffsets(matrix, range, sourceBits)) {
        std::copy_n(offsets, 3, block.offset);
        return block;
    }
    const CodeRange output = ChannelRange(range, 8);
    FillOffsets(block, GainsByRule(matrix, output), 0.5, output.black, sourceBits == 8 ? 14 : 16);
    return block;
}

CoefficientBlock YuvToDeepRgbCoefficients(LONG matrix, LONG range, LONG destinationBits) {
    constexpr int kLumaBits = 14 + kDeepExtraBits;
    constexpr int kChromaBits = 13 + kDeepExtraBits;
    constexpr int kSumBits = 16 + kDeepExtraBits;
    // Half of a 16-bit code; ten bits are rounded where they are cut from the 16.
    const double half = destinationBits == 10 ? 0 : 0.5 / 256;
    const CodeRange output = ChannelRange(range, destinationBits);
    const RealGains real = GainsByRule(matrix, output);
    CoefficientBlock block = {ToFixed(real.luma, kLumaBits),   ToFixed(real.vToR, kChromaBits),
                              ToFixed(real.uToG, kChromaBits), ToFixed(real.vToG, kChromaBits),
                              ToFixed(real.uToB, kChromaBits), {}};
    const RealGains stored = {
        std::ldexp(block.luma, -kLumaBits), std::ldexp(block.vToR, -kChromaBits),
        std::ldexp(block.uToG, -kChromaBits), std::ldexp(block.vToG, -kChromaBits),
        std::ldexp(block.uToB, -kChromaBits)};
    FillOffsets(block, stored, half, output.black, kSumBits);
    return block;
}

ReverseCoefficientBlock RgbToYuvCoefficients(LONG matrix, LONG range, LONG sourceBits,
                                             LONG destinationBits) {
    constexpr int kGainBits = 15;
    if (matrix == kMatrixBt601 && range == kStudioRange && sourceBits == 8 &&
        destinationBits == 8) {
        return kReverseBt601Studio;
    }
    const LumaWeights k = WeightsOf(matrix);
    const double kg = 1 - k.kr - k.kb;
    const CodeRange input = ChannelRange(range, sourceBits);
    const double luma = kLumaSpan / input.Span();
    const double chroma = kChromaSpan / input.Span();
    const double u = chroma * 0.5 / (1 - k.kb);
    const double v = chroma * 0.5 / (1 - k.kr);
    const int sumBits = kGainBits + (sourceBits == 8 ? 0 : 8);
    const double half = std::ldexp(0.5, 8 - destinationBits);
    const double lumaOffset = kBlackCode - input.black * luma + half;
    const double chromaOffset = kChromaMid + half;
    const auto row = [&](double b, double g, double r, double offset) {
        return ReverseRow{ToFixed(b, kGainBits), ToFixed(g, kGainBits), ToFixed(r, kGainBits),
                          ToFixed(offset, sumBits)};
    };
    return {
        row(k.kb * luma, kg * luma, k.kr * luma, lumaOffset),
        row((1 - k.kb) * u, -kg * u, -k.kr * u, chromaOffset),
        row(-k.kb * v, -kg * v, (1 - k.kr) * v, chromaOffset),
    };
}

}  // namespace nyx
