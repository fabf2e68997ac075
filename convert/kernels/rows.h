#pragma once

/// @file
/// The common part of all conversions: rows, their ends, and alpha planes.

#include "convert/convert.h"

namespace nyx {

/// Converts `height` rows of `width` pixels, an even number. All is checked before. Reads and
/// writes exactly the pixels of the planes. An alpha plane of the destination receives the
/// source's, else the upper eight bits of the pixels' alpha, else 255.
void ConvertRows(const Conversion& conversion, const ConversionPlanes& planes, LONG width,
                 LONG height);

}  // namespace nyx
