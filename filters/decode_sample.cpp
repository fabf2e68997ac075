#include "filters/decoder_filter.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "codecs/header_checks.h"
#include "codecs/pixel_format_index.h"
#include "filters/sample_data.h"
#include "platform/com.h"

namespace nyx {
namespace {

/// AM_VIDEO_FLAG_FIELD1FIRST, which this compiler's dvdmedia.h leaves out.
constexpr DWORD kField1First = 0x0004;

void SetFieldFlag(IMediaSample* sample, LONG fieldOrder) {
    const auto sample2 = As<IMediaSample2>(sample);
    AM_SAMPLE2_PROPERTIES properties = {};
    auto* bytes = reinterpret_cast<BYTE*>(&properties);
    if (!sample2 || FAILED(sample2->GetProperties(sizeof(properties), bytes))) {
        return;
    }
    properties.dwTypeSpecificFlags &= ~kField1First;
    if (fieldOrder == kTopFieldFirst) {
        properties.dwTypeSpecificFlags |= kField1First;
    }
    // The properties point to the sample's own type, which it may free before it copies the one
    // that SetProperties passes.
    CMediaType type;
    if (properties.pMediaType) {
        if (FAILED(type.Set(*properties.pMediaType))) {
            return;
        }
        properties.pMediaType = &type;
    }
    sample2->SetProperties(sizeof(properties), bytes);
}

bool AcceptsDynamically(CBasePin& output, const AM_MEDIA_TYPE& type) {
    ComPtr<IPin> peer;
    if (FAILED(output.ConnectedTo(&peer))) {
        return false;
    }
    const auto connection = As<IPinConnection>(peer, IID_IPinConnection);
    return connection && connection->DynamicQueryAccept(&type) == S_OK;
}

/// One call of ICodec::Decompress.
struct DecompressCall {
    const BITMAPINFOHEADER* input;  ///< `biSizeImage` is the number of bytes at `frame`
    const void* frame;
    const BITMAPINFOHEADER* output;
    bool alpha;
    BYTE* picture;
    std::size_t pictureSize;  ///< bytes of the whole picture
    bool fillsRows;           ///< see DecodeSample
};

HRESULT DecompressTo(BYTE* picture, ICodec& codec, const DecompressCall& call) {
    return codec.Decompress(call.input, call.frame, call.output, call.alpha, picture, 0, 0);
}

/// Copies the bytes of each row that the codec has written.
void CopyPicture(const DecompressCall& call, const BYTE* from) {
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

/// Decodes into a temporary buffer and copies the result: codecs read their output and write it out
/// of order, both of which write-combined memory makes very slow. Never reads the picture.
HRESULT DecompressByCopy(ICodec& codec, const DecompressCall& call) {
    const std::unique_ptr<BYTE[]> bounce(new (std::nothrow) BYTE[call.pictureSize]());
    if (!bounce) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = DecompressTo(bounce.get(), codec, call);
    if (SUCCEEDED(result)) {
        CopyPicture(call, bounce.get());
    }
    return result;
}

}  // namespace

void UpdateOutputType(const FrameParameters& shown, CBasePin& output, IMediaSample* sample) {
    const VIDEOINFOHEADER2* before = NyxUtil::FormatOf(output.CurrentMediaType()).header2;
    if (!before) {
        return;
    }
    VIDEOINFOHEADER2 block = *before;
    block.dwInterlaceFlags = NyxUtil::InterlaceFlags(shown.fieldOrder);
    block.dwPictAspectRatioX = static_cast<DWORD>(shown.aspect.x);
    block.dwPictAspectRatioY = static_cast<DWORD>(shown.aspect.y);
    CMediaType type;  // a copy for the peer, which may replace ours while it answers
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

HRESULT DecodeSample(ICodec& codec, bool fillsRows, const AM_MEDIA_TYPE& inputType,
                     const AM_MEDIA_TYPE& outputType, IMediaSample* inputSample,
                     IMediaSample* outputSample, FrameParameters* shown) {
    SampleBuffers buffers;
    HRESULT result = GetSampleBuffers(inputSample, outputSample, &buffers);
    if (FAILED(result)) {
        return result;
    }
    result =
        ReadFrameParameters(codec, inputType, BytesAt(buffers.input, buffers.inputLength), shown);
    if (FAILED(result)) {
        return result;
    }
    SetFieldFlag(outputSample, shown->fieldOrder);

    const VideoFormat format = NyxUtil::FormatOf(outputType);
    if (format.kind == PictureKind::kInvalid) {
        return E_FAIL;
    }
    const BITMAPINFOHEADER output = *format.header;
    const std::uint64_t pictureSize = SurfaceSize(output);
    if (pictureSize > buffers.outputRoom) {
        return E_FAIL;
    }
    const DecompressCall call = {
        .input = &shown->header,
        .frame = buffers.input,
        .output = &output,
        .alpha = format.kind == PictureKind::kAlpha,
        .picture = buffers.output,
        .pictureSize = static_cast<std::size_t>(pictureSize),
        .fillsRows = fillsRows,
    };
    switch (QueryMemory(call.picture, call.pictureSize)) {
        case MemoryKind::kUnwritable:
            return E_FAIL;
        case MemoryKind::kWriteCombined:
            result = DecompressByCopy(codec, call);
            break;
        case MemoryKind::kOrdinary:
            result = DecompressTo(call.picture, codec, call);
            break;
    }
    if (SUCCEEDED(result)) {
        outputSample->SetActualDataLength(static_cast<long>(pictureSize));
    }
    return result;
}

}  // namespace nyx
