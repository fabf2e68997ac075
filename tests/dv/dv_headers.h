#pragma once

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx::test {

constexpr DWORD kYuy2 = FourCC("YUY2");

/// A compressed DV header; `biSizeImage` is set by whoever has a frame.
inline BITMAPINFOHEADER DvHeader(DWORD fourcc, LONG width, LONG height) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biCompression = fourcc;
    return header;
}

/// An uncompressed header: "YUY2" for 16 bits, else RGB.
inline BITMAPINFOHEADER PictureHeader(WORD bitCount, LONG width, LONG height) {
    BITMAPINFOHEADER header = DvHeader(bitCount == 16 ? kYuy2 : DWORD{BI_RGB}, width, height);
    header.biBitCount = bitCount;
    return header;
}

}  // namespace nyx::test
