#include "picture_format.h"

#include <cstdlib>

#include "platform/fourcc.h"

namespace nyx::host {

MediaType CompressedVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                              bool videoInfo2) {
    const DWORD code = reinterpret_cast<const BITMAPINFOHEADER*>(bitmapInfo.data())->biCompression;
    MediaType type =
        VideoType(FourCCSubtype(code), videoInfo2 ? Block::kVideoInfo2 : Block::kVideoInfo,
                  frameDuration, bitmapInfo.data(), bitmapInfo.size());
    if (videoInfo2) {
        type.Info2().dwPictAspectRatioX = static_cast<DWORD>(type.Header().biWidth);
        type.Info2().dwPictAspectRatioY = static_cast<DWORD>(std::abs(type.Header().biHeight));
    }
    return type;
}

MediaType PictureVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                           const PictureFormat& format) {
    MediaType type = CompressedVideoType(bitmapInfo, frameDuration, false);
    type.subtype = *format.subtype;
    type.bFixedSizeSamples = TRUE;
    type.lSampleSize = type.Header().biSizeImage;
    return type;
}

const std::vector<PictureFormat>& PictureFormats() {
    static const std::vector<PictureFormat> formats = {
        {"yuy2", &MEDIASUBTYPE_YUY2, 16, MEDIASUBTYPE_YUY2.Data1},
        {"rgb24", &MEDIASUBTYPE_RGB24, 24, BI_RGB},
        {"rgb32", &MEDIASUBTYPE_RGB32, 32, BI_RGB},
        {"argb32", &MEDIASUBTYPE_ARGB32, 32, BI_RGB},
    };
    return formats;
}

const PictureFormat* FindPictureFormat(std::string_view name) {
    for (const PictureFormat& format : PictureFormats()) {
        if (name == format.name) {
            return &format;
        }
    }
    return nullptr;
}

const PictureFormat* FindPictureFormat(const GUID& subtype) {
    for (const PictureFormat& format : PictureFormats()) {
        if (subtype == *format.subtype) {
            return &format;
        }
    }
    return nullptr;
}

}  // namespace nyx::host
