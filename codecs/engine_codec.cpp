#include "codecs/engine_codec.h"

#include "codecs/frame_chunks.h"
#include "codecs/header_checks.h"
#include "codecs/matte.h"

namespace nyx {
namespace {

constexpr WORD kAlphaStreamBits = 32;

}  // namespace

HRESULT CEngineCodec::CompressQuery(const BITMAPINFOHEADER* input, bool alphaInput,
                                    const BITMAPINFOHEADER* output) {
    return Encodes() ? CheckEncodeFormats(formats_, input, alphaInput, output) : E_NOTIMPL;
}

HRESULT CEngineCodec::Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                               const void* inputData, BITMAPINFOHEADER* output, void* outputData,
                               DWORD, DWORD stride, DWORD alphaMode) {
    if (!Encodes()) {
        return E_NOTIMPL;
    }
    if (!input || !inputData || !output || !outputData) {
        return E_POINTER;
    }
    EncodeJob job = {
        {}, input, alphaInput, alphaMode, CurrentSettings(), outputData, output->biSizeImage, 0};
    const SurfaceRequest request = {input,
                                    output->biWidth,
                                    output->biBitCount == kAlphaStreamBits,
                                    alphaInput,
                                    job.settings.color_space,
                                    const_cast<void*>(inputData),
                                    static_cast<LONG>(stride)};
    if (FAILED(DescribeSurface(request, &job.surface))) {
        return UnknownFormatResult();
    }
    job.capacity = OutputCapacity(job);
    LONG codedLength = -1;
    const HRESULT result = EncodeFrame(job, &codedLength);
    if (FAILED(result)) {
        return result;
    }
    if (codedLength < 0 || static_cast<DWORD>(codedLength) > job.capacity) {
        return E_FAIL;
    }
    output->biSizeImage = static_cast<DWORD>(codedLength);
    return S_OK;
}

HRESULT CEngineCodec::DecompressQuery(const BITMAPINFOHEADER* input, const BITMAPINFOHEADER* output,
                                      bool alphaOut) {
    return CheckDecodeFormats(formats_, input, output, alphaOut);
}

HRESULT CEngineCodec::Decompress(const BITMAPINFOHEADER* input, const void* data,
                                 const BITMAPINFOHEADER* output, bool alphaOut, void* outputData,
                                 LONG stride, DWORD alphaMode) {
    if (!input || !data || !output || !outputData) {
        return E_POINTER;
    }
    const bool sizesMatch = input->biWidth > 0 && input->biWidth <= output->biWidth &&
                            input->biHeight > 0 && input->biHeight == AbsoluteHeight(*output);
    const ByteSpan frame = SkipInfoChunk(ByteSpan(data, input->biSizeImage));
    const std::optional<bool> streamAlpha =
        sizesMatch ? Probe(frame, *input) : std::optional<bool>();
    if (!streamAlpha) {
        return E_FAIL;
    }
    DecodeJob job = {frame, {}, *streamAlpha, alphaMode};
    const SurfaceRequest request = {output,          input->biWidth, *streamAlpha, alphaOut,
                                    GetColorSpace(), outputData,     stride};
    if (FAILED(DescribeSurface(request, &job.surface))) {
        return E_FAIL;
    }
    job.surface.width = input->biWidth;
    return DecodeFrame(job);
}

void CEngineCodec::CleanStraightMatte(const DecodeJob& job) {
    if (job.streamAlpha && job.alphaMode != kPremultipliedMode) {
        CleanMatte(job.surface);
    }
}

}  // namespace nyx
