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

PictureKind KindOf(const AM_MEDIA_TYPE& type) {
    const BITMAPINFOHEADER* header = NyxUtil::FindHeader(type);
    return header ? NyxUtil::ClassifyPicture(header->biBitCount, type.subtype)
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
    const PictureKind kind = KindOf(input);
    const BITMAPINFOHEADER* outputHeader = output ? NyxUtil::FindHeader(*output) : nullptr;
    if (kind == PictureKind::kInvalid || (output && !outputHeader)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    return codec.CompressQuery(NyxUtil::FindHeader(input), kind == PictureKind::kAlpha,
                               outputHeader);
}

HRESULT OfferEncoderType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                         CMediaType* type) {
    if (position < 0) {
        return E_INVALIDARG;
    }
    const BITMAPINFOHEADER* picture = NyxUtil::FindHeader(input);
    if (!picture) {
        return E_FAIL;
    }
    const PictureKind kind = KindOf(input);
    if (kind == PictureKind::kInvalid) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    if (position >= kFormCount) {
        return VFW_S_NO_MORE_ITEMS;
    }
    const REFERENCE_TIME duration = *NyxUtil::FindAverageFrameDuration(input);
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
        // Of the picture as it comes: a top-down one has a negative height, here too.
        PictureAspectOf(picture->biWidth, picture->biHeight, pixel.x, pixel.y),
        false,
    };
    return FillOfferedType(offer, kForms[position], type);
}

std::int64_t EncoderBufferSize(const BITMAPINFOHEADER& picture) {
    return EncodedBufferSize(
        SignedPictureSize(picture.biBitCount, AbsoluteHeight(picture), picture.biWidth));
}

HRESULT RequestEncoderBuffer(const AM_MEDIA_TYPE& input, IMemAllocator* allocator,
                             ALLOCATOR_PROPERTIES* properties) {
    const BITMAPINFOHEADER* picture = NyxUtil::FindHeader(input);
    if (!picture) {
        return E_UNEXPECTED;
    }
    return RequestOneBuffer(allocator, properties, EncoderBufferSize(*picture));
}

}  // namespace nyx
