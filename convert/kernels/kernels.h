#pragma once

/// @file
/// The kernels as the dispatch sees them: a kernel converts whole steps of pixels of one row, and
/// everything around that is common to all (rows.h). None can fail. All need SSSE3.

#include <cstddef>

#include "convert/coefficients.h"

namespace nyx {

/// What becomes of the colours when a source alpha plane is present.
enum class AlphaTransform {
    kKeep,
    kPremultiply,
    kUnpremultiply,
};

/// What kernels compute with; each reads the part that its direction needs.
struct KernelNumbers {
    CoefficientBlock toRgb;
    ReverseCoefficientBlock toYuv;
    AlphaTransform transform;
    BYTE black;  ///< the 8-bit code of black, about which alpha scales
};

/// Converts `pixels` pixels, a multiple of the kernel's step. `alpha` has one byte per pixel, and
/// is used only by a function that takes it.
using KernelFunction = void (*)(const KernelNumbers& numbers, const BYTE* source, const BYTE* alpha,
                                BYTE* destination, std::size_t pixels);

/// One pair of formats and what converts it.
struct Kernel {
    DWORD source;
    DWORD destination;
    std::size_t sourceBytes;       ///< per pixel
    std::size_t destinationBytes;  ///< per pixel
    std::size_t step;
    std::size_t window;            ///< pixels from a step's first one on that it reads or writes
    KernelFunction convert;        ///< layouts with alpha become opaque
    KernelFunction convertScaled;  ///< stores alpha and transforms colours; null where nothing does
};

/// The kernel of a source and a destination policy, which know their layouts.
template <class Reader, class Writer>
constexpr Kernel KernelOf(std::size_t step, std::size_t window, KernelFunction convert,
                          KernelFunction convertScaled = nullptr) {
    return {Reader::kFourCC, Writer::kFourCC, Reader::kBytesPerPixel, Writer::kBytesPerPixel, step,
            window,          convert,         convertScaled};
}

extern const Kernel kYuvToRgb8Kernels[10];
extern const Kernel kYuvToDeepRgbKernels[16];
extern const Kernel kRgbToYuvKernels[26];

}  // namespace nyx
