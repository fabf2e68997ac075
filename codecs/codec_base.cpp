#include "codecs/codec.h"
#include "codecs/fault_guard.h"
#include "codecs/frame_chunks.h"
#include "codecs/frame_size_tables.h"

namespace nyx {
namespace {

HRESULT DescribeFrame(const BITMAPINFOHEADER& input, const void* frame,
                      REFERENCE_TIME averageFrameDuration, FrameInfo* info) {
    FrameInfo found;
    const bool hasInfo = ReadFrameChunks(BytesAt(frame, input.biSizeImage), &found);
    if (!hasInfo) {
        const PixelAspect aspect = DefaultPixelAspect(input.biWidth, input.biHeight);
        found.pixelAspectX = aspect.x;
        found.pixelAspectY = aspect.y;
    }
    if (found.fieldOrder < 0) {
        found.fieldOrder = DefaultFieldOrder(input.biWidth, input.biHeight, averageFrameDuration);
    }
    if (info) {
        *info = found;
    }
    return hasInfo ? S_OK : S_FALSE;
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

SurfaceRequest CCodecBase::RequestFor(const BITMAPINFOHEADER& uncompressed,
                                      const BITMAPINFOHEADER& compressed, bool alpha,
                                      const void* data, LONG stride) {
    return {.uncompressed = &uncompressed,
            .compressedWidth = compressed.biWidth,
            .alphaRequested = alpha,
            .colorSpace = GetColorSpace(),
            .data = const_cast<void*>(data),
            .stride = stride};
}

HRESULT CCodecBase::GetFrameInfo(const BITMAPINFOHEADER* input, const void* frame,
                                 REFERENCE_TIME averageFrameDuration, FrameInfo* info) {
    if (!input) {
        return E_POINTER;
    }
    return GuardedResult([&] { return DescribeFrame(*input, frame, averageFrameDuration, info); });
}

}  // namespace nyx
