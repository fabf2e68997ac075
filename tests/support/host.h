#pragma once

#include <cstdlib>

#include "host/media_type.h"

namespace nyx::test {

using namespace host;

/// What the tests vary about a stream. Duration in 100-ns units.
struct Stream {
    LONG width = 0;
    LONG height = 0;
    REFERENCE_TIME frameDuration = 400000;
    Block block = Block::kVideoInfo;
};

/// Bytes of a packed picture: whole bytes per pixel, width, absolute height.
inline LONG PictureBytes(const BITMAPINFOHEADER& header) {
    return (header.biBitCount + 7) / 8 * header.biWidth * std::abs(header.biHeight);
}

/// The complete MEDIATYPE_Video type of a stream; `compression` is a FourCC or BI_RGB.
inline MediaType VideoType(const GUID& subtype, WORD bits, DWORD compression,
                           const Stream& stream) {
    BITMAPINFOHEADER header = {
        sizeof(header), stream.width, stream.height, 1, bits, compression, 0, 0, 0, 0, 0};
    header.biSizeImage = static_cast<DWORD>(PictureBytes(header));
    MediaType type =
        host::VideoType(subtype, stream.block, stream.frameDuration, &header, sizeof(header));
    type.bFixedSizeSamples = TRUE;
    type.lSampleSize = header.biSizeImage;
    return type;
}

}  // namespace nyx::test
