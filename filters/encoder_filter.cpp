#include "filters/encoder_filter.h"

#include "codecs/frame_size_tables.h"
#include "codecs/header_checks.h"
#include "codecs/pixel_format_index.h"
#include "filters/picture_size.h"
#include "filters/sample_data.h"
#include "media/video_block.h"
#include "platform/fourcc.h"

namespace nyx {

HRESULT EncoderPolicy::CheckTypes(ICodec& codec, const AM_MEDIA_TYPE& input,
                                  const AM_MEDIA_TYPE* output) {
    const VideoFormat format = NyxUtil::FormatOf(input);
    const BITMAPINFOHEADER* outputHeader = output ? NyxUtil::FormatOf(*output).header : nullptr;
    if (format.kind == PictureKind::kInvalid || (output && !outputHeader)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    return codec.CompressQuery(format.header, format.kind == PictureKind::kAlpha, outputHeader);
}

HRESULT EncoderPolicy::OfferType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                                 CMediaType* type) {
    const VideoFormat format = NyxUtil::FormatOf(input);
    const BITMAPINFOHEADER* picture = format.header;
    if (!picture) {
        return E_FAIL;
    }
    if (format.kind == PictureKind::kInvalid) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    if (position > 1) {
        return VFW_S_NO_MORE_ITEMS;
    }
    const LONG width = picture->biWidth;
    const LONG height = static_cast<LONG>(AbsoluteHeight(*picture));
    const WORD bitCount = format.kind == PictureKind::kAlpha ? 32 : 24;
    const auto size = static_cast<DWORD>(SignedPictureSize(bitCount, height, width));
    const PixelAspect pixel = DefaultPixelAspect(width, height);
    const PictureAspect aspect = PictureAspectOf(width, height, pixel.x, pixel.y);
    const REFERENCE_TIME duration = format.averageFrameDuration;
    const VideoTypeContents offer = {
        .subtype = FourCCSubtype(codec.GetFourCC()),
        // Always of positive height; the encoder sets the size of each frame.
        .header = PictureHeader(width, height, bitCount, codec.GetFourCC(), size),
        // Hosts know from this encoder the bytes of one uncompressed picture as its bit rate.
        .bitRate = size,
        .averageFrameDuration = duration,
        .fixedSizeSamples = false,
        .interlaceFlags = NyxUtil::InterlaceFlags(DefaultFieldOrder(width, height, duration)),
        .pictureAspectRatio = {static_cast<DWORD>(aspect.x), static_cast<DWORD>(aspect.y)},
    };
    return SetVideoType(offer, position == 0, type);
}

HRESULT EncoderPolicy::RequestBuffer(CBasePin& input, CBasePin&, IMemAllocator* allocator,
                                     ALLOCATOR_PROPERTIES* properties) {
    CMediaType type;
    const HRESULT result = input.ConnectionMediaType(&type);
    const BITMAPINFOHEADER* picture = NyxUtil::FormatOf(type).header;
    if (FAILED(result) || !picture) {
        return E_UNEXPECTED;
    }
    const std::int64_t size =
        SignedPictureSize(picture->biBitCount, AbsoluteHeight(*picture), picture->biWidth);
    std::int64_t scaled = 0;
    return __builtin_mul_overflow(size, std::int64_t{12}, &scaled)
               ? E_FAIL
               : RequestOneBuffer(allocator, properties, scaled / 10);
}

HRESULT EncoderPolicy::Transform(ICodec& codec, CBasePin& input, CBasePin& output,
                                 IMediaSample* inputSample, IMediaSample* outputSample, bool) {
    SampleBuffers buffers;
    HRESULT result = GetSampleBuffers(inputSample, outputSample, &buffers);
    if (FAILED(result)) {
        return result;
    }
    const VideoFormat picture = NyxUtil::FormatOf(input.CurrentMediaType());
    const BITMAPINFOHEADER* outputHeader = NyxUtil::FormatOf(output.CurrentMediaType()).header;
    if (picture.kind == PictureKind::kInvalid || !outputHeader ||
        buffers.inputLength < SurfaceSize(*picture.header) || buffers.outputRoom == 0 ||
        QueryMemory(buffers.output, buffers.outputRoom) == MemoryKind::kUnwritable) {
        return E_FAIL;
    }

    BITMAPINFOHEADER frame = *outputHeader;
    frame.biSizeImage = static_cast<DWORD>(buffers.outputRoom);
    result = codec.Compress(picture.header, picture.kind == PictureKind::kAlpha, buffers.input,
                            &frame, buffers.output, 0, 0, 0);
    if (SUCCEEDED(result)) {
        outputSample->SetActualDataLength(static_cast<long>(frame.biSizeImage));
    }
    return result;
}

}  // namespace nyx
