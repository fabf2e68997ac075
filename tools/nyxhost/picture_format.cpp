#include "picture_format.h"

namespace nyx::host {

const std::vector<PictureFormat>& PictureFormats() {
    // Name, subtype, bits, compression.
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
