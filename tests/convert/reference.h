#pragma once

/// @file
/// The conversions written as plainly as they can be, one pixel after the other: the definition of
/// the kernels, with coefficients of its own. Requests are taken as valid.

#include <cstddef>

#include "convert/convert.h"

namespace nyx::reference {

/// Luma weights as ITU-R BT.601, BT.709 and BT.2020 (non-constant luminance) publish them.
struct Weights {
    double kr, kg, kb;
};
Weights WeightsOf(LONG matrix);

/// Whether the library computes with the very coefficients that the rules give.
bool HasSameNumbers(const ConversionKind& kind, const KernelNumbers& numbers);

void Convert(const ConversionKind& kind, const ConversionPlanes& planes, LONG width, LONG height);

}  // namespace nyx::reference
