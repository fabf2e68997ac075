#pragma once

/// @file
/// What stands between the public entries and the kernels: a request with its range and matrix
/// already chosen. Callers that need a matrix the public entries never choose come in here.

#include "convert/convert.h"
#include "convert/cpu_info.h"

namespace nyx {

/// Alpha modes. In every layout full alpha is opaque; colours are scaled about black, not about
/// code 0, so that transparent studio-range pixels are black.
enum AlphaMode : LONG {
    kStraightAlpha = 0,       ///< colours are as if opaque
    kPremultipliedAlpha = 1,  ///< colours are scaled by alpha
};

/// A YUV-to-RGB request. `sourceAlpha` may be null.
struct YuvToRgbRequest {
    const ImagePlane* source;
    const ImagePlane* sourceAlpha;
    DWORD sourceFourCC;
    LONG sourceAlphaMode;
    const ImagePlane* destination;
    DWORD destinationFourCC;
    LONG destinationAlphaMode;
    LONG range;   ///< RangeVariant
    LONG matrix;  ///< MatrixId
    LONG width;
    LONG height;
};

/// An RGB-to-YUV request. Both alpha planes may be null.
struct RgbToYuvRequest {
    const ImagePlane* source;
    const ImagePlane* sourceAlpha;
    DWORD sourceFourCC;
    const ImagePlane* destination;
    const ImagePlane* destinationAlpha;
    DWORD destinationFourCC;
    LONG alphaMode;
    LONG range;
    LONG matrix;
    LONG width;
    LONG height;
};

/// Checks and runs a request on the processor that `cpu` describes. Checked in this order:
/// combination of formats, alpha modes, range and matrix (`E_INVALIDARG`); planes (`E_POINTER`);
/// size, which must be positive with an even width (`E_INVALIDARG`); SSSE3 (`E_UNEXPECTED`).
HRESULT RunYuvToRgb(const CpuInfo& cpu, const YuvToRgbRequest& request);
HRESULT RunRgbToYuv(const CpuInfo& cpu, const RgbToYuvRequest& request);

/// Runs a kernel and turns what it throws into a result: an HRESULT is returned as it is, anything
/// else is `E_UNEXPECTED`.
template <class Kernel, class Arguments>
HRESULT RunKernel(Kernel kernel, const Arguments& arguments) {
    try {
        kernel(arguments);
        return S_OK;
    } catch (HRESULT result) {
        return result;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace nyx
