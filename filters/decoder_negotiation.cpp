#include "filters/decoder_negotiation.h"

#include <cstdint>
#include <iterator>

#include "filters/buffer_request.h"
#include "filters/frame_parameters.h"
#include "filters/nyx_util.h"
#include "filters/offered_type.h"
#include "platform/fourcc.h"

namespace nyx {
namespace {

struct OutputLayout {
    const GUID* subtype;
    WORD bitCount;
    DWORD compression;
};

const OutputLayout kOpaqueLayouts[] = {
    {&MEDIASUBTYPE_YUY2, 16, FourCC("YUY2")},
    {&MEDIASUBTYPE_RGB24, 24, BI_RGB},
    {&MEDIASUBTYPE_RGB32, 32, BI_RGB},
};
const OutputLayout kAlphaLayouts[] = {
    {&MEDIASUBTYPE_RGB32, 32, BI_RGB},
    {&MEDIASUBTYPE_ARGB32, 32, BI_RGB},
};

struct LayoutList {
    const OutputLayout* layouts;
    int count;
};

LayoutList LayoutsFor(ICodec& codec, WORD inputBitCount) {
    if (codec.SupportsAlpha() && inputBitCount == 32) {
        return {kAlphaLayouts, static_cast<int>(std::size(kAlphaLayouts))};
    }
    return {kOpaqueLayouts, static_cast<int>(std::size(kOpaqueLayouts))};
}

/// The product with the frame duration, not the quotient, is what hosts of this format expect.
/// Truncated to 32 bits.
DWORD OfferedBitRate(WORD bitCount, LONG width, LONG height, REFERENCE_TIME duration) {
    const int wholeBits = (bitCount + 7) / 8 * 8;
    const double rate =
        static_cast<double>(wholeBits) * width * height * static_cast<double>(duration) * 1e-7;
    constexpr double kMax = 9.0e18;  // inside 64 bits, where the conversion is defined
    if (!(rate > -kMax && rate < kMax)) {
        return 0;
    }
    return static_cast<DWORD>(static_cast<std::int64_t>(rate));
}

BITMAPINFOHEADER OfferedHeader(const BITMAPINFOHEADER& input, const OutputLayout& layout) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = input.biWidth;
    header.biHeight = input.biHeight;
    header.biPlanes = 1;
    header.biBitCount = layout.bitCount;
    header.biCompression = layout.compression;
    header.biSizeImage =
        static_cast<DWORD>(SignedPictureSize(layout.bitCount, input.biHeight, input.biWidth));
    return header;
}

}  // namespace

HRESULT CheckDecoderTypes(ICodec& codec, const AM_MEDIA_TYPE& input, const AM_MEDIA_TYPE* output) {
    const BITMAPINFOHEADER* outputHeader = nullptr;
    PictureKind kind = PictureKind::kOpaque;
    if (output) {
        outputHeader = NyxUtil::FormatOf(*output).header;
        if (!outputHeader) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
        kind = NyxUtil::ClassifyPicture(outputHeader->biBitCount, output->subtype);
        if (kind == PictureKind::kInvalid) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
    }
    return codec.DecompressQuery(NyxUtil::FormatOf(input).header, outputHeader,
                                 kind == PictureKind::kAlpha);
}

HRESULT OfferDecoderType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                         CMediaType* type) {
    if (position < 0) {
        return E_INVALIDARG;
    }
    FrameParameters frame;
    const HRESULT result = ReadFrameParameters(codec, input, {}, &frame);
    if (FAILED(result)) {
        return result;
    }
    const LayoutList list = LayoutsFor(codec, frame.header.biBitCount);
    if (position >= 2 * list.count) {
        return VFW_S_NO_MORE_ITEMS;
    }
    const OutputLayout& layout = list.layouts[position % list.count];
    const BITMAPINFOHEADER& header = frame.header;
    const OfferedType offer = {
        *layout.subtype,
        OfferedHeader(header, layout),
        frame.averageFrameDuration,
        OfferedBitRate(layout.bitCount, header.biWidth, header.biHeight,
                       frame.averageFrameDuration),
        frame.fieldOrder,
        frame.aspect,
        true,
    };
    const BlockForm form = position < list.count ? BlockForm::kVideoInfo2 : BlockForm::kVideoInfo;
    return FillOfferedType(offer, form, type);
}

HRESULT RequestDecoderBuffer(const AM_MEDIA_TYPE& output, IMemAllocator* allocator,
                             ALLOCATOR_PROPERTIES* properties) {
    const BITMAPINFOHEADER* header = NyxUtil::FormatOf(output).header;
    if (!header) {
        return E_FAIL;
    }
    return RequestOneBuffer(
        allocator, properties,
        SignedPictureSize(header->biBitCount, header->biHeight, header->biWidth));
}

}  // namespace nyx
