#pragma once

/// @file
/// The format blocks of video types. VIDEOINFOHEADER and VIDEOINFOHEADER2 begin alike, up to the
/// duration of a frame, and end with the header of the picture.

#include <cstddef>

#include "platform/dshow.h"

namespace nyx {

/// Where the picture's header begins in a block of this format type; 0 in one without a picture.
inline std::size_t PictureHeaderOffset(const GUID& formatType) noexcept {
    if (formatType == FORMAT_VideoInfo2) {
        return offsetof(VIDEOINFOHEADER2, bmiHeader);
    }
    return formatType == FORMAT_VideoInfo ? offsetof(VIDEOINFOHEADER, bmiHeader) : 0;
}

/// The picture's header in a type's block, whose form the format type alone decides. Null in any
/// other block and in one that is too short.
inline BITMAPINFOHEADER* PictureHeaderOf(const AM_MEDIA_TYPE& type) noexcept {
    const std::size_t offset = PictureHeaderOffset(type.formattype);
    const bool present =
        offset != 0 && type.pbFormat && type.cbFormat >= offset + sizeof(BITMAPINFOHEADER);
    return present ? reinterpret_cast<BITMAPINFOHEADER*>(type.pbFormat + offset) : nullptr;
}

/// The header of a picture with one plane of `size` bytes.
constexpr BITMAPINFOHEADER PictureHeader(LONG width, LONG height, WORD bitCount, DWORD compression,
                                         DWORD size) noexcept {
    return {.biSize = sizeof(BITMAPINFOHEADER),
            .biWidth = width,
            .biHeight = height,
            .biPlanes = 1,
            .biBitCount = bitCount,
            .biCompression = compression,
            .biSizeImage = size,
            .biXPelsPerMeter = 0,
            .biYPelsPerMeter = 0,
            .biClrUsed = 0,
            .biClrImportant = 0};
}

/// `dwInterlaceFlags` of pictures of two fields.
constexpr DWORD TwoFieldFlags(bool topFieldFirst) noexcept {
    return AMINTERLACE_IsInterlaced | AMINTERLACE_FieldPatBothRegular |
           AMINTERLACE_DisplayModeBobOrWeave | (topFieldFirst ? AMINTERLACE_Field1First : 0);
}

}  // namespace nyx
