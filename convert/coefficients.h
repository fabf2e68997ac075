#pragma once

/// @file
/// The numbers of the colour matrices: a table, and the rule for combinations outside it.

#include <cstdint>

#include "platform/win_types.h"

namespace nyx {

/// The matrices, by the value that the kernel groups take.
enum MatrixId : LONG {
    kMatrixBt601 = 2,
    kMatrixBt709 = 3,
    kMatrixBt2020 = 4,
};

/// The range of RGB codes.
enum RangeVariant : LONG {
    kStudioRange = 0,  ///< black 16, white 235 (of 255)
    kFullRange = 1,    ///< black 0, white 255 (of 255)
};

bool IsMatrixId(LONG matrix);
bool IsRangeVariant(LONG range);

/// The three sums of the YUV-to-RGB direction:
///   R = Y luma + Cv vToR + offset[0]
///   G = Y luma + Cu uToG + Cv vToG + offset[1]
///   B = Y luma + Cu uToB + offset[2]
/// where Cu and Cv are twice the chroma sample (the sum of two neighbours' samples), so that chroma
/// gains have one fractional bit less than the luma gain.
struct CoefficientBlock {
    std::int32_t luma;
    std::int32_t vToR;
    std::int32_t uToG;
    std::int32_t vToG;
    std::int32_t uToB;
    std::int32_t offset[3];
};

/// The block for 8-bit RGB. Gains have 14 (luma) and 13 (chroma) fractional bits and fit 16 bits.
/// Offsets have 14 fractional bits for 8-bit sources and 16 for 10-bit ones, and contain the black
/// levels, the chroma midpoints and the half that rounds. `sourceBits` is 8 or 10.
CoefficientBlock YuvToRgb8Coefficients(LONG matrix, LONG range, LONG sourceBits);

/// Fractional bits that the deep block has beyond the 8-bit one: 14 bits of gain would be several
/// codes off in a 16-bit channel.
constexpr int kDeepExtraBits = 4;

/// The block for RGB of 10 or 16 bits per channel, from samples at the 10-bit scale (8-bit samples
/// times 4). Gains have 18 and 17 fractional bits; sums have 20 and count in 8-bit codes, so that a
/// sum divided by 2^12 is the channel in 1/256 of an 8-bit code, rounded. Offsets are derived from
/// the stored gains, so that grey stays grey to the last bit.
CoefficientBlock YuvToDeepRgbCoefficients(LONG matrix, LONG range, LONG destinationBits);

/// One output of the RGB-to-YUV direction: B b + G g + R r + offset.
struct ReverseRow {
    std::int32_t b;
    std::int32_t g;
    std::int32_t r;
    std::int32_t offset;
};

struct ReverseCoefficientBlock {
    ReverseRow y;
    ReverseRow u;
    ReverseRow v;
};

/// Gains have 15 fractional bits. Sums count in 8-bit codes with 15 fractional bits for 8-bit
/// channels, and 23 for deep ones (10-bit channels times 64). Offsets contain black level, chroma
/// midpoint and the half that rounds to `destinationBits` (8 or 10).
ReverseCoefficientBlock RgbToYuvCoefficients(LONG matrix, LONG range, LONG sourceBits,
                                             LONG destinationBits);

}  // namespace nyx
