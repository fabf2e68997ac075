#include "filters/encoder_negotiation.h"

#include "codecs/frame_size_tables.h"
#include "codecs/header_checks.h"
#include "filters/frame_parameters.h"
#include "filters/nyx_util.h"
#include "filters/picture_size.h"
#include "media/video_block.h"
#include "platform/fourcc.h"

namespace nyx {

HRESULT CheckEncoderTypes(ICodec& codec, const AM_MEDIA_TYPE& input, const AM_MEDIA_TYPE* output) {
    const VideoFormat format = NyxUtil::FormatOf(input);
    const BITMAPINFOHEADER* outputHeader = output ? NyxUtil::FormatOf(*output).header : nullptr;
    if (format.kind == PictureKind::kInvalid || (output && !outputHeader)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    return codec.CompressQuery(format.header, format.kind == PictureKind::kAlpha, outputHeader);
}

HRESULT OfferEncoderType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
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

HRESULT RequestEncoderBuffer(const AM_MEDIA_TYPE& input, IMemAllocator* allocator,
                             ALLOCATOR_PROPERTIES* properties) {
    const BITMAPINFOHEADER* picture = NyxUtil::FormatOf(input).header;
    if (!picture) {
        return E_UNEXPECTED;
    }
    const std::int64_t size =
        SignedPictureSize(picture->biBitCount, AbsoluteHeight(*picture), picture->biWidth);
    std::int64_t scaled = 0;
    return __builtin_mul_overflow(size, std::int64_t{12}, &scaled)
               ? E_FAIL
               : RequestOneBuffer(allocator, properties, scaled / 10);
}

}  // namespace nyx
