#include "filters/decode_sample.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "codecs/header_checks.h"
#include "codecs/pixel_format_index.h"
#include "filters/nyx_util.h"
#include "filters/sample_data.h"

namespace nyx {
namespace {

/// AM_VIDEO_FLAG_FIELD1FIRST, which this compiler's dvdmedia.h leaves out.
constexpr DWORD kField1First = 0x0004;

void SetFieldFlag(IMediaSample* sample, LONG fieldOrder) {
    IMediaSample2* sample2 = nullptr;
    if (FAILED(sample->QueryInterface(IID_IMediaSample2, reinterpret_cast<void**>(&sample2)))) {
        return;
    }
    AM_SAMPLE2_PROPERTIES properties = {};
    auto* bytes = reinterpret_cast<BYTE*>(&properties);
    if (SUCCEEDED(sample2->GetProperties(sizeof(properties), bytes))) {
        properties.dwTypeSpecificFlags &= ~kField1First;
        if (fieldOrder == kTopFieldFirst) {
            properties.dwTypeSpecificFlags |= kField1First;
        }
        // The properties point to the sample's own type, which it may free before it copies the one
        // that it is handed.
        CMediaType type;
        if (!properties.pMediaType || SUCCEEDED(type.Set(*properties.pMediaType))) {
            properties.pMediaType = properties.pMediaType ? &type : nullptr;
            sample2->SetProperties(sizeof(properties), bytes);
        }
    }
    sample2->Release();
}

bool AcceptsDynamically(CBasePin& output, const AM_MEDIA_TYPE& type) {
    IPin* peer = nullptr;
    if (FAILED(output.ConnectedTo(&peer))) {
        return false;
    }
    IPinConnection* connection = nullptr;
    HRESULT result =
        peer->QueryInterface(IID_IPinConnection, reinterpret_cast<void**>(&connection));
    peer->Release();
    if (FAILED(result)) {
        return false;
    }
    result = connection->DynamicQueryAccept(&type);
    connection->Release();
    return result == S_OK;
}

/// Copies what the codec has written of each row.
void CopyPicture(const DecodeCall& call, const BYTE* from) {
    const auto rows = static_cast<std::size_t>(AbsoluteHeight(*call.output));
    if (call.pictureSize == 0) {
        return;
    }
    const std::size_t rowBytes = call.pictureSize / rows;
    std::size_t written = rowBytes;
    if (!call.fillsRows && call.input->biWidth < call.output->biWidth) {
        written = rowBytes / static_cast<std::size_t>(call.output->biWidth) *
                  static_cast<std::size_t>(call.input->biWidth);
    }
    for (std::size_t at = 0; at < call.pictureSize; at += rowBytes) {
        std::memcpy(call.picture + at, from + at, written);
    }
}

}  // namespace

void UpdateOutputType(const FrameParameters& shown, CBasePin& output, IMediaSample* sample) {
    const VIDEOINFOHEADER2* before = NyxUtil::FormatOf(output.CurrentMediaType()).header2;
    if (!before) {
        return;
    }
    VIDEOINFOHEADER2 block = *before;
    WriteFrameParameters(shown.fieldOrder, shown.aspect, &block);
    CMediaType type;  // the peer's, since ours may be replaced while it is asked
    if (std::memcmp(&block, before, sizeof(block)) == 0 ||
        FAILED(output.ConnectionMediaType(&type))) {
        return;
    }
    for (CMediaType* each : {&output.CurrentMediaType(), &type}) {
        std::memcpy(each->pbFormat, &block, sizeof(block));
    }
    if (AcceptsDynamically(output, type)) {
        sample->SetMediaType(&type);
    }
}

HRESULT DecodePicture(ICodec& codec, const DecodeCall& call, bool writeCombined) {
    if (!writeCombined) {
        return codec.Decompress(call.input, call.frame, call.output, call.alpha, call.picture, 0,
                                0);
    }
    const std::unique_ptr<BYTE[]> bounce(new (std::nothrow) BYTE[call.pictureSize]());
    if (!bounce) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result =
        codec.Decompress(call.input, call.frame, call.output, call.alpha, bounce.get(), 0, 0);
    if (SUCCEEDED(result)) {
        CopyPicture(call, bounce.get());
    }
    return result;
}

HRESULT DecodeSample(ICodec& codec, bool fillsRows, const AM_MEDIA_TYPE& inputType,
                     const AM_MEDIA_TYPE& outputType, IMediaSample* inputSample,
                     IMediaSample* outputSample, FrameParameters* shown) {
    if (!inputSample || !outputSample) {
        return E_POINTER;
    }
    BYTE* frame = nullptr;
    BYTE* picture = nullptr;
    if (FAILED(SampleData(inputSample, &frame)) || FAILED(SampleData(outputSample, &picture))) {
        return E_UNEXPECTED;
    }
    const std::size_t frameSize = SampleLength(inputSample);
    const std::size_t room = SampleCapacity(outputSample);
    HRESULT result = ReadFrameParameters(codec, inputType, ByteSpan(frame, frameSize), shown);
    if (FAILED(result)) {
        return result;
    }
    SetFieldFlag(outputSample, shown->fieldOrder);

    const BITMAPINFOHEADER* format = NyxUtil::FormatOf(outputType).header;
    if (!format) {
        return E_FAIL;
    }
    const BITMAPINFOHEADER output = *format;
    const PictureKind kind = NyxUtil::ClassifyPicture(output.biBitCount, outputType.subtype);
    const std::uint64_t pictureSize = SurfaceSize(output);
    if (kind == PictureKind::kInvalid || pictureSize > room) {
        return E_FAIL;
    }
    const DecodeCall call = {&shown->header, frame,
                             &output,        kind == PictureKind::kAlpha,
                             picture,        static_cast<std::size_t>(pictureSize),
                             fillsRows};
    const MemoryKind memory = QueryMemory(picture, call.pictureSize);
    if (memory == MemoryKind::kUnwritable) {
        return E_FAIL;
    }
    result = DecodePicture(codec, call, memory == MemoryKind::kWriteCombined);
    if (SUCCEEDED(result)) {
        outputSample->SetActualDataLength(static_cast<long>(pictureSize));
    }
    return result;
}

}  // namespace nyx
