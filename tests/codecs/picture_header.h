#pragma once

#include "platform/win_types.h"

namespace nyx::test {

/// A plain 40-byte header of one plane; `biSizeImage` stays 0.
inline BITMAPINFOHEADER MakeHeader(DWORD compression, WORD bitCount, LONG width, LONG height) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bitCount;
    header.biCompression = compression;
    return header;
}

}  // namespace nyx::test
