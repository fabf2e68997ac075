#pragma once

#include <string>
#include <utility>

#include "frame_source.h"
#include "picture_format.h"

namespace nyx::host {

/// The pictures of a file that holds nothing else, one after another. RGB rows go from bottom to
/// top, or from top to bottom where the height is negative. `rate` is frames per second, a
/// fraction. Failure kInput when the file cannot be read or holds no whole number of such pictures.
FrameList OpenRawPictures(const std::string& path, const PictureFormat& format, LONG width,
                          LONG height, std::pair<LONG, LONG> rate);

}  // namespace nyx::host
