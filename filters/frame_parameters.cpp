#include "filters/frame_parameters.h"

#include <numeric>

#include "filters/nyx_util.h"

namespace nyx {

PictureAspect PictureAspectOf(LONG width, LONG height, LONG pixelAspectX, LONG pixelAspectY) {
    const std::int64_t x = std::int64_t{width} * pixelAspectX;
    const std::int64_t y = std::int64_t{height} * pixelAspectY;
    const std::int64_t divisor = std::gcd(x, y);
    return divisor == 0 ? PictureAspect{x, y} : PictureAspect{x / divisor, y / divisor};
}

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

}  // namespace nyx
