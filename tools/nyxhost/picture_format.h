#pragma once

#include <string_view>
#include <vector>

#include "host/media_type.h"

namespace nyx::host {

/// The type of a compressed video stream. `bitmapInfo` is a BITMAPINFOHEADER of at least 40 bytes
/// with whatever follows it; `frameDuration` is in 100 ns units; the block form is VIDEOINFOHEADER2
/// when `videoInfo2` is set, with square pixels and no interlace flags.
MediaType CompressedVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                              bool videoInfo2);

struct PictureFormat;

/// The type of an uncompressed video stream, its parts as above, with a VIDEOINFOHEADER block.
MediaType PictureVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                           const PictureFormat& format);

/// An uncompressed format that can be asked of a decoder or given to an encoder.
struct PictureFormat {
    const char* name;  ///< as on the command line
    const GUID* subtype;
    WORD bits;          ///< per pixel
    DWORD compression;  ///< of the bitmap header
};

/// The formats in the order of the help text.
const std::vector<PictureFormat>& PictureFormats();

/// The entry of that name or subtype, or null.
const PictureFormat* FindPictureFormat(std::string_view name);
const PictureFormat* FindPictureFormat(const GUID& subtype);

}  // namespace nyx::host
