#pragma once

/// @file
/// What every codec's queries ask of a format header.

#include <cstdint>

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx {

/// A header that is there, of at least 40 bytes, with one plane.
inline bool IsPlainHeader(const BITMAPINFOHEADER* header) {
    return header && header->biSize >= sizeof(BITMAPINFOHEADER) && header->biPlanes == 1;
}

inline bool IsRgb(const BITMAPINFOHEADER& header, WORD bitCount) {
    return header.biCompression == BI_RGB && header.biBitCount == bitCount;
}

inline bool IsYuy2(const BITMAPINFOHEADER& header) {
    return header.biCompression == FourCC("YUY2") && header.biBitCount == 16;
}

/// The height's absolute value, in 64 bits because -2^31 has none in 32.
inline std::int64_t AbsoluteHeight(const BITMAPINFOHEADER& header) {
    const std::int64_t height = header.biHeight;
    return height < 0 ? -height : height;
}

}  // namespace nyx
