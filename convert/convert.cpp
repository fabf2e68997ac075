#include "convert/convert.h"

#include "convert/coefficients.h"
#include "convert/conversion_groups.h"

namespace nyx {
namespace {

/// What a resolved colour code (0 to 3) stands for.
LONG RangeOfCode(int code) {
    return code & 1 ? kFullRange : kStudioRange;
}
LONG MatrixOfCode(int code) {
    return code & 2 ? kMatrixBt709 : kMatrixBt601;
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
    const int code = ResolveColourFlags(destinationColourFlags, sourceColourFlags);
    if (code < 0) {
        return E_INVALIDARG;
    }
    return RunYuvToRgb(GetCpuInfo(), {source, sourceAlpha, sourceFourCC, sourceAlphaMode,
                                      destination, destinationFourCC, destinationAlphaMode,
                                      RangeOfCode(code), MatrixOfCode(code), width, height});
}

HRESULT ConvertToYuv(const ImagePlane* source, DWORD sourceFourCC, DWORD sourceColourFlags,
                     const ImagePlane* sourceAlpha, const ImagePlane* destination,
                     const ImagePlane* destinationAlpha, DWORD destinationFourCC,
                     DWORD destinationColourFlags, LONG alphaMode, LONG width, LONG height) {
    const int code = ResolveColourFlags(sourceColourFlags, destinationColourFlags);
    if (code < 0) {
        return E_INVALIDARG;
    }
    return RunRgbToYuv(GetCpuInfo(), {source, sourceAlpha, sourceFourCC, destination,
                                      destinationAlpha, destinationFourCC, alphaMode,
                                      RangeOfCode(code), MatrixOfCode(code), width, height});
}

HRESULT StripConversion::PrepareFromYuv(DWORD sourceFourCC, DWORD sourceColourFlags,
                                        DWORD destinationFourCC, DWORD destinationColourFlags) {
    *this = {};
    if (ResolveColourFlags(destinationColourFlags, sourceColourFlags) < 0 ||
        BytesPerPixel(sourceFourCC) == 0 || BytesPerPixel(destinationFourCC) == 0) {
        return E_INVALIDARG;
    }
    sourceFourCC_ = sourceFourCC;
    sourceFlags_ = sourceColourFlags;
    destinationFourCC_ = destinationFourCC;
    destinationFlags_ = destinationColourFlags;
    return S_OK;
}

HRESULT StripConversion::PrepareToYuv(DWORD sourceFourCC, DWORD sourceColourFlags,
                                      DWORD destinationFourCC, DWORD destinationColourFlags) {
    const HRESULT result =
        PrepareFromYuv(sourceFourCC, destinationColourFlags, destinationFourCC, sourceColourFlags);
    toYuv_ = true;
    sourceFlags_ = sourceColourFlags;
    destinationFlags_ = destinationColourFlags;
    return result;
}

HRESULT StripConversion::Run(const ImagePlane& source, const ImagePlane& destination, LONG width,
                             LONG height) const {
    return toYuv_ ? ConvertToYuv(&source, sourceFourCC_, sourceFlags_, nullptr, &destination,
                                 nullptr, destinationFourCC_, destinationFlags_, 0, width, height)
                  : ConvertFromYuv(&source, nullptr, sourceFourCC_, sourceFlags_, 0, &destination,
                                   destinationFourCC_, destinationFlags_, 0, width, height);
}

}  // namespace nyx
