#pragma once

#include <string>
#include <utility>

#include "frame_source.h"
#include "picture_format.h"

namespace nyx::host {

/// The pictures of a file that contains nothing else. RGB rows run from bottom to top, with a
/// negative height from top to bottom. `rate` is frames per second, a fraction. Failure kInput when
/// the file cannot be read or its size is not a whole number of pictures.
FrameList OpenRawPictures(const std::string& path, const PictureFormat& format, LONG width,
                          LONG height, std::pair<LONG, LONG> rate);

}  // namespace nyx::host
