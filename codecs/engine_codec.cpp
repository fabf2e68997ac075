#include "codecs/engine_codec.h"

#include "codecs/fault_guard.h"
#include "codecs/frame_chunks.h"
#include "codecs/header_checks.h"
#include "codecs/matte.h"

namespace nyx {
namespace {

constexpr WORD kAlphaStreamBits = 32;

}  // namespace

HRESULT CEngineCodec::Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                               const void* inputData, BITMAPINFOHEADER* output, void* outputData,
                               DWORD, DWORD stride, DWORD alphaMode) {
    if (!Encodes()) {
        return E_NOTIMPL;
    }
    if (!input || !inputData || !output || !outputData) {
        return E_POINTER;
    }
    EncodeJob job = {.input = input,
                     .alpha = alphaInput,
                     .alphaMode = alphaMode,
                     .settings = CurrentSettings(),
                     .output = outputData,
                     .room = output->biSizeImage};
    SurfaceRequest request =
        RequestFor(*input, *output, alphaInput, inputData, static_cast<LONG>(stride));
    request.streamAlpha = output->biBitCount == kAlphaStreamBits;
    request.colorSpace = job.settings.color_space;
    if (!HasPixelFormatIndex(*input)) {
        return UnknownFormatResult();
    }
    if (FAILED(DescribeSurface(request, &job.surface))) {
        return E_FAIL;
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

HRESULT CEngineCodec::Decompress(const BITMAPINFOHEADER* input, const void* data,
                                 const BITMAPINFOHEADER* output, bool alphaOut, void* outputData,
                                 LONG stride, DWORD alphaMode) {
    if (!input || !data || !output || !outputData) {
        return E_POINTER;
    }
    if (!FitsOutput(*input, *output)) {
        return E_FAIL;
    }
    SurfaceRequest request = RequestFor(*output, *input, alphaOut, outputData, stride);
    ScratchMemory scratch(&kept_);
    return GuardedResult([&] {
        const ByteSpan frame = SkipInfoChunk(BytesAt(data, input->biSizeImage));
        const std::optional<bool> streamAlpha = Probe(frame, *input);
        if (!streamAlpha) {
            return E_FAIL;
        }
        request.streamAlpha = *streamAlpha;
        DecodeJob job = {.frame = frame,
                         .streamAlpha = *streamAlpha,
                         .alphaMode = alphaMode,
                         .scratch = &scratch};
        if (FAILED(DescribeSurface(request, &job.surface))) {
            return E_FAIL;
        }
        job.surface.width = input->biWidth;
        return DecodeFrame(job);
    });
}

void CEngineCodec::CleanStraightMatte(const DecodeJob& job) {
    if (job.streamAlpha && job.alphaMode != kPremultipliedMode) {
        CleanMatte(job.surface);
    }
}

}  // namespace nyx
