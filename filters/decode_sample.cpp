#include "filters/decode_sample.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "codecs/pixel_format_index.h"
#include "filters/frame_parameters.h"
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

bool AcceptsDynamically(IPin* peer, const AM_MEDIA_TYPE& type) {
    IPinConnection* connection = nullptr;
    if (!peer ||
        FAILED(peer->QueryInterface(IID_IPinConnection, reinterpret_cast<void**>(&connection)))) {
        return false;
    }
    const HRESULT result = connection->DynamicQueryAccept(&type);
    connection->Release();
    return result == S_OK;
}

/// Keeps the output type true to the frame. The stored type keeps the new values even when the peer
/// does not take them on this sample.
void FollowFrameParameters(const FrameParameters& frame, const OutputConnection& output,
                           IMediaSample* sample) {
    VIDEOINFOHEADER2* block = NyxUtil::FindVideoInfo2(*output.type);
    if (!block) {
        return;
    }
    const DWORD interlaceFlags = NyxUtil::InterlaceFlags(frame.fieldOrder);
    const auto aspectX = static_cast<DWORD>(frame.aspect.x);
    const auto aspectY = static_cast<DWORD>(frame.aspect.y);
    if (block->dwInterlaceFlags == interlaceFlags && block->dwPictAspectRatioX == aspectX &&
        block->dwPictAspectRatioY == aspectY) {
        return;
    }
    block->dwInterlaceFlags = interlaceFlags;
    block->dwPictAspectRatioX = aspectX;
    block->dwPictAspectRatioY = aspectY;
    if (AcceptsDynamically(output.peer, *output.type)) {
        sample->SetMediaType(output.type);
    }
}

}  // namespace

bool IsWriteCombined(const void* memory) {
    MEMORY_BASIC_INFORMATION information = {};
    return VirtualQuery(memory, &information, sizeof(information)) != 0 &&
           (information.AllocationProtect & PAGE_WRITECOMBINE) != 0;
}

HRESULT DecodePicture(ICodec& codec, const DecodeCall& call, bool writeCombined) {
    if (!writeCombined) {
        return codec.Decompress(call.input, call.frame, call.output, call.alpha, call.picture, 0,
                                0);
    }
    const std::unique_ptr<BYTE[]> bounce(new (std::nothrow) BYTE[call.pictureSize]);
    if (!bounce) {
        return E_OUTOFMEMORY;
    }
    // A codec leaves what is right of a narrower picture as it was.
    if (call.output->biWidth > call.input->biWidth) {
        std::memcpy(bounce.get(), call.picture, call.pictureSize);
    }
    const HRESULT result =
        codec.Decompress(call.input, call.frame, call.output, call.alpha, bounce.get(), 0, 0);
    if (SUCCEEDED(result)) {
        std::memcpy(call.picture, bounce.get(), call.pictureSize);
    }
    return result;
}

HRESULT DecodeSample(ICodec& codec, const AM_MEDIA_TYPE& inputType, const OutputConnection& output,
                     IMediaSample* inputSample, IMediaSample* outputSample) {
    if (!inputSample || !outputSample) {
        return E_POINTER;
    }
    BYTE* frame = nullptr;
    BYTE* picture = nullptr;
    if (FAILED(SampleData(inputSample, &frame)) || FAILED(SampleData(outputSample, &picture))) {
        return E_UNEXPECTED;
    }
    const std::size_t frameSize = SampleLength(inputSample);

    FrameParameters parameters;
    const HRESULT result =
        ReadFrameParameters(codec, inputType, ByteSpan(frame, frameSize), &parameters);
    if (FAILED(result)) {
        return result;
    }
    SetFieldFlag(outputSample, parameters.fieldOrder);
    FollowFrameParameters(parameters, output, outputSample);

    const BITMAPINFOHEADER* outputHeader = NyxUtil::FindHeader(*output.type);
    if (!outputHeader) {
        return E_FAIL;
    }
    const std::uint64_t pictureSize = SurfaceSize(*outputHeader);
    if (pictureSize > SampleCapacity(outputSample) ||
        !IsWritable(picture, static_cast<std::size_t>(pictureSize))) {
        return E_FAIL;
    }
    BITMAPINFOHEADER input = *parameters.header;
    input.biSizeImage = static_cast<DWORD>(frameSize);
    const bool alpha = NyxUtil::ClassifyPicture(outputHeader->biBitCount, output.type->subtype) ==
                       PictureKind::kAlpha;
    const DecodeCall call = {&input, frame,   outputHeader,
                             alpha,  picture, static_cast<std::size_t>(pictureSize)};
    return DecodePicture(codec, call, IsWriteCombined(picture));
}

}  // namespace nyx
