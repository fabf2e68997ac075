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
    const BITMAPINFOHEADER* input = NyxUtil::FindHeader(inputType);
    const BITMAPINFOHEADER* outputHeader = NyxUtil::FindHeader(outputType);
    if (!input || !outputHeader) {
        return E_FAIL;
    }
    const bool alpha =
        NyxUtil::ClassifyPicture(input->biBitCount, inputType.subtype) == PictureKind::kAlpha;
    const std::size_t capacity = SampleCapacity(outputSample);
    if (SampleLength(inputSample) < SurfaceSize(*input) ||
        static_cast<std::int64_t>(capacity) < EncoderBufferSize(*input) ||
        !IsWritable(frame, capacity)) {
        return E_FAIL;
    }

    BITMAPINFOHEADER output = *outputHeader;
    const HRESULT result = codec.Compress(input, alpha, picture, &output, frame, 0, 0, 0);
    if (FAILED(result)) {
        return result;
    }
    if (output.biSizeImage > capacity) {
        return E_FAIL;
    }
    outputSample->SetActualDataLength(static_cast<long>(output.biSizeImage));
    return result;
}

}  // namespace nyx
