#include "filters/frame_parameters.h"

#include <numeric>

#include "filters/nyx_util.h"

namespace nyx {

PictureAspect PictureAspectOf(LONG width, LONG height, LONG pixelAspectX, LONG pixelAspectY) {
    if (pixelAspectX < 0 || pixelAspectY < 0) {
        return {0, 0};
    }
    const std::int64_t x = std::int64_t{width} * pixelAspectX;
    const std::int64_t y = std::int64_t{height} * pixelAspectY;
    const std::int64_t divisor = std::gcd(x, y);
    return divisor == 0 ? PictureAspect{x, y} : PictureAspect{x / divisor, y / divisor};
}

HRESULT ReadFrameParameters(ICodec& codec, const AM_MEDIA_TYPE& type, ByteSpan frame,
                            FrameParameters* parameters) {
    const BITMAPINFOHEADER* header = NyxUtil::FindHeader(type);
    if (!header) {
        return E_FAIL;
    }
    BITMAPINFOHEADER input = *header;
    if (frame.data()) {
        input.biSizeImage = static_cast<DWORD>(frame.size());
    }
    const REFERENCE_TIME duration = *NyxUtil::FindAverageFrameDuration(type);
    FrameInfo info;
    const HRESULT result = codec.GetFrameInfo(&input, frame.data(), duration, &info);
    if (FAILED(result)) {
        return result;
    }
    *parameters = {
        header, duration, info.fieldOrder,
        PictureAspectOf(header->biWidth, header->biHeight, info.pixelAspectX, info.pixelAspectY)};
    return S_OK;
}

}  // namespace nyx
