#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

#include "host/media_type.h"
#include "platform/fourcc.h"

namespace nyx::host {

/// An uncompressed format of a decoder's output or an encoder's input.
struct PictureFormat {
    const char* name;  ///< as on the command line
    const GUID* subtype;
    WORD bits;          ///< per pixel
    DWORD compression;  ///< of the bitmap header
};

/// The formats in the order of the help text.
inline constexpr PictureFormat kPictureFormats[] = {
    {"yuy2", &MEDIASUBTYPE_YUY2, 16, FourCC("YUY2")},
    {"rgb24", &MEDIASUBTYPE_RGB24, 24, BI_RGB},
    {"rgb32", &MEDIASUBTYPE_RGB32, 32, BI_RGB},
    {"argb32", &MEDIASUBTYPE_ARGB32, 32, BI_RGB},
};

/// The format with this name or subtype, or null.
inline const PictureFormat* FindPictureFormat(std::string_view name) {
    const auto* found = std::ranges::find(kPictureFormats, name, &PictureFormat::name);
    return found != std::end(kPictureFormats) ? found : nullptr;
}
inline const PictureFormat* FindPictureFormat(const GUID& subtype) {
    const auto* found = std::ranges::find(
        kPictureFormats, subtype, [](const PictureFormat& format) { return *format.subtype; });
    return found != std::end(kPictureFormats) ? found : nullptr;
}

}  // namespace nyx::host
