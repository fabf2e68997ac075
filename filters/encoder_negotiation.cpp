#include "filters/encoder_negotiation.h"

#include <iterator>

#include "codecs/frame_size_tables.h"
#include "codecs/header_checks.h"
#include "filters/buffer_request.h"
#include "filters/nyx_util.h"
#include "filters/offered_type.h"
#include "platform/fourcc.h"

namespace nyx {
namespace {

/// The forms of block that are offered, in order.
constexpr BlockForm kForms[] = {BlockForm::kVideoInfo2, BlockForm::kVideoInfo};

}  // namespace

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
    if (position < 0) {
        return E_INVALIDARG;
    }
    const VideoFormat format = NyxUtil::FormatOf(input);
    const BITMAPINFOHEADER* picture = format.header;
    if (!picture) {
        return E_FAIL;
    }
    if (format.kind == PictureKind::kInvalid) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    if (position >= static_cast<int>(std::size(kForms))) {
        return VFW_S_NO_MORE_ITEMS;
    }
    const REFERENCE_TIME duration = format.averageFrameDuration;
    // Always of positive height; the encoder sets the size of each frame.
    const BITMAPINFOHEADER header =
        PictureHeader(picture->biWidth, static_cast<LONG>(AbsoluteHeight(*picture)),
                      format.kind == PictureKind::kAlpha ? WORD{32} : WORD{24}, codec.GetFourCC());
    const PixelAspect pixel = DefaultPixelAspect(header.biWidth, header.biHeight);
    const OfferedType offer = {
        .subtype = FourCCSubtype(header.biCompression),
        .header = header,
        .averageFrameDuration = duration,
        // Hosts know from this encoder the bytes of one uncompressed picture as its bit rate.
        .bitRate = header.biSizeImage,
        .fieldOrder = DefaultFieldOrder(header.biWidth, header.biHeight, duration),
        .aspect = PictureAspectOf(header.biWidth, header.biHeight, pixel.x, pixel.y),
        .fixedSizeSamples = false,
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
