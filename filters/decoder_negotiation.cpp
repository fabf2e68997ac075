#include "filters/decoder_filter.h"

#include <cstdint>
#include <span>

#include "filters/picture_size.h"
#include "media/video_block.h"
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

std::span<const OutputLayout> LayoutsFor(ICodec& codec, WORD inputBitCount) {
    if (codec.SupportsAlpha() && inputBitCount == 32) {
        return kAlphaLayouts;
    }
    return kOpaqueLayouts;
}

/// The picture's bits multiplied, not divided, by the frame duration, as hosts of this format
/// expect. Truncated to 32 bits.
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

}  // namespace

HRESULT ReadFrameParameters(ICodec& codec, const AM_MEDIA_TYPE& type, ByteSpan frame,
                            FrameParameters* parameters) {
    const VideoFormat format = NyxUtil::FormatOf(type);
    if (!format.header) {
        return E_FAIL;
    }
    BITMAPINFOHEADER header = *format.header;
    if (frame.data()) {
        header.biSizeImage = static_cast<DWORD>(frame.size());
    }
    FrameInfo info;
    const HRESULT result =
        codec.GetFrameInfo(&header, frame.data(), format.averageFrameDuration, &info);
    if (FAILED(result)) {
        return result;
    }
    *parameters = {
        .header = header,
        .averageFrameDuration = format.averageFrameDuration,
        .fieldOrder = info.fieldOrder,
        .aspect =
            PictureAspectOf(header.biWidth, header.biHeight, info.pixelAspectX, info.pixelAspectY),
    };
    return S_OK;
}

HRESULT DecoderPolicy::CheckTypes(ICodec& codec, const AM_MEDIA_TYPE& input,
                                  const AM_MEDIA_TYPE* output) {
    const VideoFormat picture = output ? NyxUtil::FormatOf(*output) : VideoFormat{};
    if (output && picture.kind == PictureKind::kInvalid) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    return codec.DecompressQuery(NyxUtil::FormatOf(input).header, picture.header,
                                 picture.kind == PictureKind::kAlpha);
}

HRESULT DecoderPolicy::OfferType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                                 CMediaType* type) {
    FrameParameters frame;
    const HRESULT result = ReadFrameParameters(codec, input, {}, &frame);
    if (FAILED(result)) {
        return result;
    }
    const auto layouts = LayoutsFor(codec, frame.header.biBitCount);
    const auto index = static_cast<std::size_t>(position);
    if (index >= 2 * layouts.size()) {
        return VFW_S_NO_MORE_ITEMS;
    }
    const OutputLayout& layout = layouts[index % layouts.size()];
    const BITMAPINFOHEADER& header = frame.header;
    const std::int64_t size = SignedPictureSize(layout.bitCount, header.biHeight, header.biWidth);
    const VideoTypeContents offer = {
        .subtype = *layout.subtype,
        .header = PictureHeader(header.biWidth, header.biHeight, layout.bitCount,
                                layout.compression, static_cast<DWORD>(size)),
        .bitRate = OfferedBitRate(layout.bitCount, header.biWidth, header.biHeight,
                                  frame.averageFrameDuration),
        .averageFrameDuration = frame.averageFrameDuration,
        .fixedSizeSamples = true,
        .interlaceFlags = NyxUtil::InterlaceFlags(frame.fieldOrder),
        .pictureAspectRatio = {static_cast<DWORD>(frame.aspect.x),
                               static_cast<DWORD>(frame.aspect.y)},
    };
    return SetVideoType(offer, index < layouts.size(), type);
}

HRESULT DecoderPolicy::RequestBuffer(CBasePin&, CBasePin& output, IMemAllocator* allocator,
                                     ALLOCATOR_PROPERTIES* properties) {
    const BITMAPINFOHEADER* header = NyxUtil::FormatOf(output.CurrentMediaType()).header;
    if (!header) {
        return E_FAIL;
    }
    return RequestOneBuffer(
        allocator, properties,
        SignedPictureSize(header->biBitCount, header->biHeight, header->biWidth));
}

}  // namespace nyx
