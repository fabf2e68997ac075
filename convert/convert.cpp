#include "convert/convert.h"

#include <span>

#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "convert/kernels/rows.h"

namespace nyx {
namespace {

constexpr BYTE kStudioBlack = 16;

const Kernel* FindIn(std::span<const Kernel> kernels, const ConversionKind& kind) {
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

bool IsYuv(DWORD fourcc) {
    return fourcc == kYuy2 || fourcc == kW210;
}

}  // namespace

int ResolveColourFlags(DWORD rgbFlags, DWORD yuvFlags) {
    if (yuvFlags != kYuvBt601 && yuvFlags != kYuvBt709) {
        return -1;
    }
    return static_cast<int>((rgbFlags & 1) + yuvFlags);
}

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

HRESULT ChooseConversion(ConversionKind kind, DWORD yuvFlags, DWORD rgbFlags,
                         Conversion* conversion) {
    *conversion = {};
    const int code = ResolveColourFlags(rgbFlags, yuvFlags);
    if (code < 0) {
        return E_INVALIDARG;
    }
    kind.range = code & 1 ? kFullRange : kStudioRange;
    kind.matrix = code & 2 ? kMatrixBt709 : kMatrixBt601;
    return ChooseConversion(kind, conversion);
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
    return RunKernel([&] { ConvertRows(conversion, planes, width, height); });
}

HRESULT ConvertFromYuv(const ImagePlane* source, const ImagePlane* sourceAlpha, DWORD sourceFourCC,
                       DWORD sourceColourFlags, LONG sourceAlphaMode, const ImagePlane* destination,
                       DWORD destinationFourCC, DWORD destinationColourFlags,
                       LONG destinationAlphaMode, LONG width, LONG height) {
    Conversion conversion;
    if (!IsYuv(sourceFourCC)) {
        return E_INVALIDARG;
    }
    const HRESULT chosen = ChooseConversion({.source = sourceFourCC,
                                             .destination = destinationFourCC,
                                             .alphaPlane = sourceAlpha != nullptr,
                                             .sourceAlphaMode = sourceAlphaMode,
                                             .destinationAlphaMode = destinationAlphaMode},
                                            sourceColourFlags, destinationColourFlags, &conversion);
    return FAILED(chosen) ? chosen
                          : RunConversion(GetCpuInfo(), conversion,
                                          {source, destination, sourceAlpha}, width, height);
}

HRESULT ConvertToYuv(const ImagePlane* source, DWORD sourceFourCC, DWORD sourceColourFlags,
                     const ImagePlane* sourceAlpha, const ImagePlane* destination,
                     const ImagePlane* destinationAlpha, DWORD destinationFourCC,
                     DWORD destinationColourFlags, LONG alphaMode, LONG width, LONG height) {
    Conversion conversion;
    if (!IsYuv(destinationFourCC)) {
        return E_INVALIDARG;
    }
    const HRESULT chosen = ChooseConversion({.source = sourceFourCC,
                                             .destination = destinationFourCC,
                                             .alphaPlane = sourceAlpha || destinationAlpha,
                                             .sourceAlphaMode = alphaMode,
                                             .destinationAlphaMode = alphaMode},
                                            destinationColourFlags, sourceColourFlags, &conversion);
    return FAILED(chosen) ? chosen
                          : RunConversion(GetCpuInfo(), conversion,
                                          {.source = source,
                                           .destination = destination,
                                           .sourceAlpha = sourceAlpha,
                                           .destinationAlpha = destinationAlpha},
                                          width, height);
}

}  // namespace nyx
