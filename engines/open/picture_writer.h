#pragma once

#include "engines/open/chroma_siting.h"
#include "engines/open/picture_format.h"

struct AVFrame;

namespace nyx::open {

/// Writes rows `firstRow` to `firstRow + surface.height` of a decoded picture of planar 8-bit
/// 4:1:1, 4:2:0 or 4:2:2. `siting` is where 4:2:0 chroma lies. False with nothing written when the
/// picture is smaller or of another kind; false, too, when memory is wanting or the surface cannot
/// be written. Uses up to `threads` threads.
bool WritePicture(const AVFrame& picture, LONG firstRow, const ChromaSiting& siting,
                  const Surface& surface, int threads);

}  // namespace nyx::open
