#include "convert/conversion_groups.h"

#include "convert/formats.h"
#include "convert/kernels/kernels.h"

namespace nyx {
namespace {

constexpr BYTE kOpaque = 255;
constexpr BYTE kStudioBlack = 16;

bool IsAlphaMode(LONG mode) {
    return mode == kStraightAlpha || mode == kPremultipliedAlpha;
}

bool IsKind(DWORD fourcc, FormatKind kind) {
    const PixelFormat* format = FindPixelFormat(fourcc);
    return format && format->kind == kind;
}

LONG BitsOf(DWORD fourcc) {
    return FindPixelFormat(fourcc)->bitsPerChannel;
}

bool HasData(const ImagePlane* plane) {
    return plane && plane->data;
}

ImagePlane PlaneOrNone(const ImagePlane* plane) {
    return plane ? *plane : ImagePlane{};
}

/// The checks that follow the choice of a kernel, common to both directions.
HRESULT CheckRun(const CpuInfo& cpu, const ImagePlane* source, const ImagePlane* destination,
                 LONG width, LONG height) {
    if (!HasData(source) || !HasData(destination)) {
        return E_POINTER;
    }
    if (width <= 0 || height <= 0 || width % 2 != 0) {
        return E_INVALIDARG;
    }
    return HasCpuFeature(cpu, kCpuSsse3) ? S_OK : E_UNEXPECTED;
}

YuvToRgbKernel ChooseRgb8Kernel(const YuvToRgbRequest& in) {
    const bool straight =
        in.sourceAlphaMode == kStraightAlpha && in.destinationAlphaMode == kStraightAlpha;
    if (in.sourceAlpha && !straight) {
        return nullptr;
    }
    return FindYuvToRgb8Kernel(in.sourceFourCC, in.destinationFourCC);
}

YuvToRgbKernel ChooseDeepRgbKernel(const YuvToRgbRequest& in) {
    AlphaTransform transform = AlphaTransform::kKeep;
    if (in.sourceAlpha) {
        if (!IsAlphaMode(in.sourceAlphaMode) || !IsAlphaMode(in.destinationAlphaMode)) {
            return nullptr;
        }
        if (in.sourceAlphaMode != in.destinationAlphaMode) {
            transform = in.destinationAlphaMode == kPremultipliedAlpha
                            ? AlphaTransform::kPremultiply
                            : AlphaTransform::kUnpremultiply;
        }
    }
    return FindYuvToDeepRgbKernel(in.sourceFourCC, in.destinationFourCC, transform);
}

CoefficientBlock CoefficientsFor(const YuvToRgbRequest& in) {
    const LONG bits = BitsOf(in.destinationFourCC);
    return bits == 8 ? YuvToRgb8Coefficients(in.matrix, in.range, BitsOf(in.sourceFourCC))
                     : YuvToDeepRgbCoefficients(in.matrix, in.range, bits);
}

}  // namespace

HRESULT RunYuvToRgb(const CpuInfo& cpu, const YuvToRgbRequest& in) {
    const YuvToRgbKernel kernel = IsKind(in.destinationFourCC, FormatKind::kRgb8)
                                      ? ChooseRgb8Kernel(in)
                                      : ChooseDeepRgbKernel(in);
    if (!kernel || !IsRangeVariant(in.range) || !IsMatrixId(in.matrix)) {
        return E_INVALIDARG;
    }
    const HRESULT check = CheckRun(cpu, in.source, in.destination, in.width, in.height);
    if (FAILED(check)) {
        return check;
    }
    const CoefficientBlock coefficients = CoefficientsFor(in);
    return RunKernel(kernel,
                     YuvToRgbArguments{*in.source, PlaneOrNone(in.sourceAlpha), *in.destination,
                                       in.width, in.height, &coefficients, kOpaque,
                                       in.range == kStudioRange ? kStudioBlack : BYTE{0}});
}

HRESULT RunRgbToYuv(const CpuInfo& cpu, const RgbToYuvRequest& in) {
    const RgbToYuvKernel kernel = FindRgbToYuvKernel(in.sourceFourCC, in.destinationFourCC);
    // As in the other direction, 8-bit RGB knows straight alpha alone.
    const bool usesAlpha = in.sourceAlpha || in.destinationAlpha;
    const bool knowsMode =
        in.alphaMode == kStraightAlpha ||
        (IsAlphaMode(in.alphaMode) && IsKind(in.sourceFourCC, FormatKind::kDeepRgb));
    if (!kernel || (usesAlpha && !knowsMode) || !IsRangeVariant(in.range) ||
        !IsMatrixId(in.matrix)) {
        return E_INVALIDARG;
    }
    const HRESULT check = CheckRun(cpu, in.source, in.destination, in.width, in.height);
    if (FAILED(check)) {
        return check;
    }
    const ReverseCoefficientBlock coefficients = RgbToYuvCoefficients(
        in.matrix, in.range, BitsOf(in.sourceFourCC), BitsOf(in.destinationFourCC));
    return RunKernel(kernel, RgbToYuvArguments{*in.source, PlaneOrNone(in.sourceAlpha),
                                               *in.destination, PlaneOrNone(in.destinationAlpha),
                                               in.width, in.height, &coefficients, kOpaque});
}

}  // namespace nyx
