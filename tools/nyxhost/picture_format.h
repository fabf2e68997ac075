#pragma once

#include <string_view>
#include <vector>

#include "host/media_type.h"

namespace nyx::host {

/// An uncompressed format of a decoder's output or an encoder's input.
struct PictureFormat {
    const char* name;  ///< as on the command line
    const GUID* subtype;
    WORD bits;          ///< per pixel
    DWORD compression;  ///< of the bitmap header
};

/// The formats in the order of the help text.
const std::vector<PictureFormat>& PictureFormats();

/// The format with this name or subtype, or null.
const PictureFormat* FindPictureFormat(std::string_view name);
const PictureFormat* FindPictureFormat(const GUID& subtype);

}  // namespace nyx::host
