#pragma once

#include <vector>

#include "host/media_type.h"

namespace nyx::host {

/// A picture in the layout of image files: rows from the top, no padding, B G R or B G R A bytes.
struct Picture {
    UINT width = 0;
    UINT height = 0;
    bool hasAlpha = false;
    std::vector<BYTE> pixels;

    UINT BytesPerPixel() const { return hasAlpha ? 4 : 3; }
};

/// The picture in a sample. `type` has a video format block and an RGB subtype of kPictureFormats;
/// a positive height means bottom-up rows. Failure kDecode when the sample is too short for its
/// type, kPlatform for any other type.
Picture MakePicture(const MediaType& type, const BYTE* data, std::size_t size);

/// The width that shows a picture of `type` at its own aspect on square pixels, at its full height;
/// the coded width where the type has no plausible aspect.
UINT SquareWidth(const MediaType& type);

}  // namespace nyx::host
