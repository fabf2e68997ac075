#pragma once

/// @file
/// The kernels' interface: a kernel converts whole steps of pixels of one row; rows.h does the rest
/// for all of them. None throws. All need SSSE3.

#include <array>
#include <cstddef>

#include "convert/coefficients.h"

namespace nyx {

/// The treatment of colours when a source alpha plane is present.
enum class AlphaTransform {
    kKeep,
    kPremultiply,
    kUnpremultiply,
};

/// The numbers of a conversion; each kernel reads the part for its direction.
struct KernelNumbers {
    CoefficientBlock toRgb;
    ReverseCoefficientBlock toYuv;
    AlphaTransform transform;
    BYTE black;  ///< the 8-bit code of black, about which alpha scales
};

/// Converts `pixels` pixels, a multiple of the kernel's step. `alpha` has one byte per pixel; only
/// Kernel::convertScaled uses it.
using KernelFunction = void (*)(const KernelNumbers& numbers, const BYTE* source, const BYTE* alpha,
                                BYTE* destination, std::size_t pixels);

/// One pair of formats and its converting functions.
struct Kernel {
    DWORD source;
    DWORD destination;
    std::size_t sourceBytes;       ///< per pixel
    std::size_t destinationBytes;  ///< per pixel
    std::size_t step;
    std::size_t window;            ///< pixels that a step reads or writes, from its first one on
    KernelFunction convert;        ///< layouts with alpha become opaque
    KernelFunction convertScaled;  ///< stores alpha and transforms colours; may be null
};

/// The kernel of a source and a destination policy, which know their layouts.
template <class Reader, class Writer>
constexpr Kernel KernelOf(std::size_t step, std::size_t window, KernelFunction convert,
                          KernelFunction convertScaled = nullptr) {
    return {.source = Reader::kFourCC,
            .destination = Writer::kFourCC,
            .sourceBytes = Reader::kBytesPerPixel,
            .destinationBytes = Writer::kBytesPerPixel,
            .step = step,
            .window = window,
            .convert = convert,
            .convertScaled = convertScaled};
}

extern const std::array<Kernel, 10> kYuvToRgb8Kernels;
extern const std::array<Kernel, 16> kYuvToDeepRgbKernels;
extern const std::array<Kernel, 26> kRgbToYuvKernels;

}  // namespace nyx
