#include "convert/convert.h"

#include "convert/coefficients.h"
#include "convert/cpu_info.h"
#include "convert/formats.h"

namespace nyx {
namespace {

bool IsYuv(DWORD fourcc) {
    return fourcc == kYuy2 || fourcc == kW210;
}

/// Chooses by a resolved colour code, -1 for flags that have none.
HRESULT Choose(ConversionKind kind, int code, Conversion* conversion) {
    *conversion = {};
    if (code < 0) {
        return E_INVALIDARG;
    }
    kind.range = code & 1 ? kFullRange : kStudioRange;
    kind.matrix = code & 2 ? kMatrixBt709 : kMatrixBt601;
    return ChooseConversion(kind, conversion);
}

HRESULT ChooseFromYuv(const ConversionKind& kind, DWORD yuvFlags, DWORD rgbFlags,
                      Conversion* conversion) {
    return Choose(kind, IsYuv(kind.source) ? ResolveColourFlags(rgbFlags, yuvFlags) : -1,
                  conversion);
}

HRESULT ChooseToYuv(const ConversionKind& kind, DWORD rgbFlags, DWORD yuvFlags,
                    Conversion* conversion) {
    return Choose(kind, IsYuv(kind.destination) ? ResolveColourFlags(rgbFlags, yuvFlags) : -1,
                  conversion);
}

}  // namespace

int ResolveColourFlags(DWORD rgbFlags, DWORD yuvFlags) {
    if (yuvFlags != kYuvBt601 && yuvFlags != kYuvBt709) {
        return -1;
    }
    return static_cast<int>((rgbFlags & 1) + yuvFlags);
}

HRESULT ConvertFromYuv(const ImagePlane* source, const ImagePlane* sourceAlpha, DWORD sourceFourCC,
                       DWORD sourceColourFlags, LONG sourceAlphaMode, const ImagePlane* destination,
                       DWORD destinationFourCC, DWORD destinationColourFlags,
                       LONG destinationAlphaMode, LONG width, LONG height) {
    Conversion conversion;
    const HRESULT chosen = ChooseFromYuv({.source = sourceFourCC,
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
    const HRESULT chosen = ChooseToYuv({.source = sourceFourCC,
                                        .destination = destinationFourCC,
                                        .alphaPlane = sourceAlpha || destinationAlpha,
                                        .sourceAlphaMode = alphaMode,
                                        .destinationAlphaMode = alphaMode},
                                       sourceColourFlags, destinationColourFlags, &conversion);
    return FAILED(chosen) ? chosen
                          : RunConversion(GetCpuInfo(), conversion,
                                          {.source = source,
                                           .destination = destination,
                                           .sourceAlpha = sourceAlpha,
                                           .destinationAlpha = destinationAlpha},
                                          width, height);
}

HRESULT StripConversion::PrepareFromYuv(DWORD sourceFourCC, DWORD sourceColourFlags,
                                        DWORD destinationFourCC, DWORD destinationColourFlags) {
    return ChooseFromYuv({.source = sourceFourCC, .destination = destinationFourCC},
                         sourceColourFlags, destinationColourFlags, &conversion_);
}

HRESULT StripConversion::PrepareToYuv(DWORD sourceFourCC, DWORD sourceColourFlags,
                                      DWORD destinationFourCC, DWORD destinationColourFlags) {
    return ChooseToYuv({.source = sourceFourCC, .destination = destinationFourCC},
                       sourceColourFlags, destinationColourFlags, &conversion_);
}

HRESULT StripConversion::Run(const ImagePlane& source, const ImagePlane& destination, LONG width,
                             LONG height) const {
    return RunConversion(GetCpuInfo(), conversion_, {&source, &destination}, width, height);
}

}  // namespace nyx
