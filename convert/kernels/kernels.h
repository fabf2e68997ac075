#pragma once

/// @file
/// The kernels as the dispatch sees them. Everything is checked before a kernel runs; none can
/// fail. All need SSSE3.

#include "convert/coefficients.h"
#include "convert/convert.h"

namespace nyx {

/// One picture for a YUV-to-RGB kernel. Planes hold the whole picture; a source alpha plane without
/// data is absent.
struct YuvToRgbArguments {
    ImagePlane source;
    ImagePlane sourceAlpha;  ///< one byte per pixel
    ImagePlane destination;
    LONG width;  ///< even, at least 2
    LONG height;
    const CoefficientBlock* coefficients;
    BYTE constantAlpha;  ///< for layouts with alpha when there is no alpha plane
    BYTE black;          ///< the 8-bit code of black, about which alpha scales
};
using YuvToRgbKernel = void (*)(const YuvToRgbArguments&);

/// What becomes of the colours when a source alpha plane is present.
enum class AlphaTransform {
    kKeep,
    kPremultiply,
    kUnpremultiply,
};

/// One picture for an RGB-to-YUV kernel; alpha planes without data are absent.
struct RgbToYuvArguments {
    ImagePlane source;
    ImagePlane sourceAlpha;
    ImagePlane destination;
    ImagePlane destinationAlpha;
    LONG width;
    LONG height;
    const ReverseCoefficientBlock* coefficients;
    BYTE constantAlpha;  ///< for the alpha plane when the source carries no alpha
};
using RgbToYuvKernel = void (*)(const RgbToYuvArguments&);

/// The kernel of a pair, or null when there is none.
YuvToRgbKernel FindYuvToRgb8Kernel(DWORD source, DWORD destination);
YuvToRgbKernel FindYuvToDeepRgbKernel(DWORD source, DWORD destination, AlphaTransform transform);
RgbToYuvKernel FindRgbToYuvKernel(DWORD source, DWORD destination);

}  // namespace nyx
