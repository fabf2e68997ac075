#pragma once

/// @file
/// The common part of all conversions: rows, their ends, and alpha planes.

#include "convert/convert.h"
#include "convert/kernels/kernels.h"

namespace nyx {

/// The planes of one conversion, checked; alpha planes without data are absent.
struct KernelPlanes {
    ImagePlane source;
    ImagePlane destination;
    ImagePlane sourceAlpha;
    ImagePlane destinationAlpha;
};

/// Converts `height` rows of `width` pixels, an even number. Reads and writes exactly the pixels of
/// the planes. An alpha plane of the destination receives the source's, else the upper eight bits
/// of the pixels' alpha, else 255.
void ConvertRows(const Kernel& kernel, const KernelNumbers& numbers, const KernelPlanes& planes,
                 LONG width, LONG height);

}  // namespace nyx
