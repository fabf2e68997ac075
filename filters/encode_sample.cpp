#include "filters/encode_sample.h"

#include "codecs/pixel_format_index.h"
#include "filters/encoder_negotiation.h"
#include "filters/nyx_util.h"
#include "filters/sample_data.h"

namespace nyx {

HRESULT EncodeSample(ICodec& codec, const AM_MEDIA_TYPE& inputType, const AM_MEDIA_TYPE& outputType,
                     IMediaSample* inputSample, IMediaSample* outputSample) {
    if (!inputSample || !outputSample) {
        return E_POINTER;
    }
    BYTE* picture = nullptr;
    BYTE* frame = nullptr;
    if (FAILED(SampleData(inputSample, &picture)) || FAILED(SampleData(outputSample, &frame))) {
        return E_UNEXPECTED;
    }
    const std::size_t pictureSize = SampleLength(inputSample);
    const std::size_t room = SampleCapacity(outputSample);
    const VideoFormat input = NyxUtil::FormatOf(inputType);
    const BITMAPINFOHEADER* outputHeader = NyxUtil::FormatOf(outputType).header;
    if (input.kind == PictureKind::kInvalid || !outputHeader ||
        pictureSize < SurfaceSize(*input.header) || room == 0 ||
        QueryMemory(frame, room) == MemoryKind::kUnwritable) {
        return E_FAIL;
    }

    BITMAPINFOHEADER output = *outputHeader;
    output.biSizeImage = static_cast<DWORD>(room);
    const HRESULT result = codec.Compress(input.header, input.kind == PictureKind::kAlpha, picture,
                                          &output, frame, 0, 0, 0);
    if (SUCCEEDED(result)) {
        outputSample->SetActualDataLength(static_cast<long>(output.biSizeImage));
    }
    return result;
}

}  // namespace nyx
