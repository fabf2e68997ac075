#include "convert/conversion.h"

#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "convert/kernels/rows.h"

namespace nyx {
namespace {

constexpr BYTE kStudioBlack = 16;

template <std::size_t kCount>
const Kernel* FindIn(const Kernel (&kernels)[kCount], const ConversionKind& kind) {
    for (const Kernel& kernel : kernels) {
        if (kernel.source == kind.source && kernel.destination == kind.destination) {
            return &kernel;
        }
    }
    return nullptr;
}

const Kernel* FindKernel(const ConversionKind& kind) {
    const Kernel* kernel = FindIn(kYuvToRgb8Kernels, kind);
    kernel = kernel ? kernel : FindIn(kYuvToDeepRgbKernels, kind);
    return kernel ? kernel : FindIn(kRgbToYuvKernels, kind);
}

bool IsAlphaMode(LONG mode) {
    return mode == kStraightAlpha || mode == kPremultipliedAlpha;
}

/// 8-bit RGB supports straight alpha only.
bool SupportsAlphaModes(const ConversionKind& kind, const PixelFormat& from,
                        const PixelFormat& to) {
    if (kind.sourceAlphaMode == kStraightAlpha && kind.destinationAlphaMode == kStraightAlpha) {
        return true;
    }
    const bool deep = from.kind == FormatKind::kDeepRgb || to.kind == FormatKind::kDeepRgb;
    return deep && IsAlphaMode(kind.sourceAlphaMode) && IsAlphaMode(kind.destinationAlphaMode);
}

AlphaTransform TransformOf(const ConversionKind& kind) {
    if (kind.sourceAlphaMode == kind.destinationAlphaMode) {
        return AlphaTransform::kKeep;
    }
    return kind.destinationAlphaMode == kPremultipliedAlpha ? AlphaTransform::kPremultiply
                                                            : AlphaTransform::kUnpremultiply;
}

KernelNumbers NumbersOf(const ConversionKind& kind, const PixelFormat& from,
                        const PixelFormat& to) {
    KernelNumbers numbers = {};
    numbers.transform = TransformOf(kind);
    numbers.black = kind.range == kStudioRange ? kStudioBlack : BYTE{0};
    if (to.kind == FormatKind::kRgb8) {
        numbers.toRgb = YuvToRgb8Coefficients(kind.matrix, kind.range, from.bitsPerChannel);
    } else if (to.kind == FormatKind::kDeepRgb) {
        numbers.toRgb = YuvToDeepRgbCoefficients(kind.matrix, kind.range, to.bitsPerChannel);
    } else {
        numbers.toYuv =
            RgbToYuvCoefficients(kind.matrix, kind.range, from.bitsPerChannel, to.bitsPerChannel);
    }
    return numbers;
}

bool HasData(const ImagePlane* plane) {
    return plane && plane->data;
}

ImagePlane PlaneOrNone(const ImagePlane* plane) {
    return plane ? *plane : ImagePlane{};
}

}  // namespace

HRESULT ChooseConversion(const ConversionKind& kind, Conversion* conversion) {
    *conversion = {};
    const Kernel* kernel = FindKernel(kind);
    if (!kernel || !IsRangeVariant(kind.range) || !IsMatrixId(kind.matrix)) {
        return E_INVALIDARG;
    }
    const PixelFormat& from = *FindPixelFormat(kind.source);
    const PixelFormat& to = *FindPixelFormat(kind.destination);
    if (kind.alphaPlane && !SupportsAlphaModes(kind, from, to)) {
        return E_INVALIDARG;
    }
    *conversion = {kernel, NumbersOf(kind, from, to)};
    return S_OK;
}

HRESULT RunConversion(const CpuInfo& cpu, const Conversion& conversion,
                      const ConversionPlanes& planes, LONG width, LONG height) {
    if (!conversion.kernel) {
        return E_INVALIDARG;
    }
    if (!HasData(planes.source) || !HasData(planes.destination)) {
        return E_POINTER;
    }
    if (width <= 0 || height <= 0 || width % 2 != 0) {
        return E_INVALIDARG;
    }
    if (!HasCpuFeature(cpu, kCpuSsse3)) {
        return E_UNEXPECTED;
    }
    const KernelPlanes checked = {.source = *planes.source,
                                  .destination = *planes.destination,
                                  .sourceAlpha = PlaneOrNone(planes.sourceAlpha),
                                  .destinationAlpha = PlaneOrNone(planes.destinationAlpha)};
    return RunKernel(
        [&] { ConvertRows(*conversion.kernel, conversion.numbers, checked, width, height); });
}

}  // namespace nyx
