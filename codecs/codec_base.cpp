#include "codecs/codec.h"
#include "codecs/fault_guard.h"
#include "codecs/frame_chunks.h"
#include "codecs/frame_size_tables.h"

namespace nyx {
namespace {

bool IsFieldCode(std::optional<DWORD> code) {
    return code && *code <= kProgressive;
}

HRESULT DescribeFrame(const BITMAPINFOHEADER& input, const void* frame,
                      REFERENCE_TIME averageFrameDuration, FrameInfo* info) {
    const FrameChunks chunks(ByteSpan(frame, input.biSizeImage));
    const std::optional<InfoWords> words = chunks.Info();
    const HRESULT result = words ? S_OK : S_FALSE;
    if (!info) {
        return result;
    }

    const LONG width = input.biWidth;
    const LONG height = input.biHeight;
    const std::optional<DWORD> fieldCode = chunks.FieldCode();
    info->fieldOrder = IsFieldCode(fieldCode)
                           ? static_cast<LONG>(*fieldCode)
                           : DefaultFieldOrder(width, height, averageFrameDuration);
    const PixelAspect aspect = words ? PixelAspect{words->pixelAspectX, words->pixelAspectY}
                                     : DefaultPixelAspect(width, height);
    info->pixelAspectX = aspect.x;
    info->pixelAspectY = aspect.y;
    info->infoA = words ? words->infoA : -1;
    info->infoB = words ? words->infoB : -1;
    const std::optional<RdrtWords> rdrt = chunks.Rdrt();
    info->rdrtA = rdrt ? rdrt->a : -1;
    info->rdrtB = rdrt ? rdrt->b : -1;
    return result;
}

}  // namespace

HRESULT CCodecBase::CompressQuery(const BITMAPINFOHEADER* input, bool alphaInput,
                                  const BITMAPINFOHEADER* output) {
    return Encodes() ? CheckEncodeFormats(formats_, input, alphaInput, output) : E_NOTIMPL;
}

HRESULT CCodecBase::DecompressQuery(const BITMAPINFOHEADER* input, const BITMAPINFOHEADER* output,
                                    bool alphaOut) {
    return CheckDecodeFormats(formats_, input, output, alphaOut);
}

HRESULT CCodecBase::GetFrameInfo(const BITMAPINFOHEADER* input, const void* frame,
                                 REFERENCE_TIME averageFrameDuration, FrameInfo* info) {
    if (!input) {
        return E_POINTER;
    }
    return GuardedResult([&] { return DescribeFrame(*input, frame, averageFrameDuration, info); });
}

}  // namespace nyx
