#pragma once

/// @file
/// The layer between the public entries and the kernels: conversions by range and matrix, including
/// a matrix that the public entries never choose.

#include "convert/kernels/kernels.h"

namespace nyx {

struct CpuInfo;
struct ImagePlane;

/// Alpha modes. In every layout full alpha is opaque; colours are scaled about black, not about
/// code 0, so that transparent studio-range pixels are black.
enum AlphaMode : LONG {
    kStraightAlpha = 0,       ///< colours are as if opaque
    kPremultipliedAlpha = 1,  ///< colours are scaled by alpha
};

/// The properties of a conversion. One of the formats is a 4:2:2 layout, the other an RGB one; RGB
/// is converted to YUV with one alpha mode for both sides.
struct ConversionKind {
    DWORD source;
    DWORD destination;
    LONG range = kStudioRange;   ///< RangeVariant
    LONG matrix = kMatrixBt601;  ///< MatrixId
    bool alphaPlane = false;
    LONG sourceAlphaMode = kStraightAlpha;  ///< the modes count with an alpha plane only
    LONG destinationAlphaMode = kStraightAlpha;
};

/// A kernel and its numbers, for any number of pictures or strips of them.
struct Conversion {
    const Kernel* kernel = nullptr;
    KernelNumbers numbers = {};
};

/// The images of one run; alpha planes may be null.
struct ConversionPlanes {
    const ImagePlane* source;
    const ImagePlane* destination;
    const ImagePlane* sourceAlpha = nullptr;
    const ImagePlane* destinationAlpha = nullptr;
};

/// Chooses the conversion. `E_INVALIDARG`, with the conversion empty, for formats, alpha modes, a
/// range or a matrix that do not fit together.
[[nodiscard]] HRESULT ChooseConversion(const ConversionKind& kind, Conversion* conversion);

/// Runs a conversion on the processor that `cpu` describes. Checked in this order: that it was
/// chosen (`E_INVALIDARG`); planes (`E_POINTER`); size, which must be positive with an even width
/// (`E_INVALIDARG`); SSSE3 (`E_UNEXPECTED`).
[[nodiscard]] HRESULT RunConversion(const CpuInfo& cpu, const Conversion& conversion,
                                    const ConversionPlanes& planes, LONG width, LONG height);

/// Runs a kernel and returns what it throws: an HRESULT itself, anything else as `E_UNEXPECTED`.
/// Our kernels throw nothing; this is deliberate for any that might.
template <class Body>
[[nodiscard]] HRESULT RunKernel(Body body) noexcept {
    try {
        body();
        return S_OK;
    } catch (HRESULT result) {
        return result;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace nyx
