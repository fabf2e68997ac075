#include "filters/encoder_negotiation.h"

#include "codecs/frame_size_tables.h"
#include "codecs/header_checks.h"
#include "filters/buffer_request.h"
#include "filters/nyx_util.h"
#include "filters/offered_type.h"
#include "platform/fourcc.h"

namespace nyx {
namespace {

/// What is offered, in order.
constexpr BlockForm kForms[] = {BlockForm::kVideoInfo2, BlockForm::kVideoInfo};
constexpr int kFormCount = 2;

PictureKind KindOf(const VideoFormat& format, const AM_MEDIA_TYPE& type) {
    return format.header ? NyxUtil::ClassifyPicture(format.header->biBitCount, type.subtype)
                         : PictureKind::kInvalid;
}

/// The compressed side of an uncompressed picture, always top-down. Its size is that of the picture
/// at the compressed bit count; the encoder sets each frame's real one.
BITMAPINFOHEADER CompressedHeader(const BITMAPINFOHEADER& picture, DWORD fourcc, bool alpha) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = picture.biWidth;
    header.biHeight = static_cast<LONG>(AbsoluteHeight(picture));
    header.biPlanes = 1;
    header.biBitCount = alpha ? 32 : 24;
    header.biCompression = fourcc;
    header.biSizeImage =
        static_cast<DWORD>(SignedPictureSize(header.biBitCount, header.biHeight, header.biWidth));
    return header;
}

}  // namespace

HRESULT CheckEncoderTypes(ICodec& codec, const AM_MEDIA_TYPE& input, const AM_MEDIA_TYPE* output) {
    const VideoFormat format = NyxUtil::FormatOf(input);
    const PictureKind kind = KindOf(format, input);
    const BITMAPINFOHEADER* outputHeader = output ? NyxUtil::FormatOf(*output).header : nullptr;
    if (kind == PictureKind::kInvalid || (output && !outputHeader)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    return codec.CompressQuery(format.header, kind == PictureKind::kAlpha, outputHeader);
}

HRESULT OfferEncoderType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                         CMediaType* type) {
    if (position < 0) {
        return E_INVALIDARG;
    }
    const VideoFormat format = NyxUtil::FormatOf(input);
    const BITMAPINFOHEADER* picture = format.header;
    if (!picture) {
        return E_FAIL;
    }
    const PictureKind kind = KindOf(format, input);
    if (kind == PictureKind::kInvalid) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    if (position >= kFormCount) {
        return VFW_S_NO_MORE_ITEMS;
    }
    const REFERENCE_TIME duration = format.averageFrameDuration;
    const BITMAPINFOHEADER header =
        CompressedHeader(*picture, codec.GetFourCC(), kind == PictureKind::kAlpha);
    const PixelAspect pixel = DefaultPixelAspect(header.biWidth, header.biHeight);
    const OfferedType offer = {
        FourCCSubtype(header.biCompression),
        header,
        duration,
        // The bytes of one uncompressed picture stand in the bit rate, as hosts know it from this
        // encoder.
        header.biSizeImage,
        DefaultFieldOrder(header.biWidth, header.biHeight, duration),
        PictureAspectOf(header.biWidth, header.biHeight, pixel.x, pixel.y),
        false,
    };
    return FillOfferedType(offer, kForms[position], type);
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
