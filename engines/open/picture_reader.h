#pragma once

#include "engines/open/picture_format.h"

struct AVFrame;

namespace nyx::open {

/// Fills the planes of `picture`, whose size is the surface's and whose kind is planar 8-bit 4:1:1,
/// 4:2:0 as DV sites it, or 4:2:2. False when the pixels cannot be converted. May throw
/// std::bad_alloc.
bool ReadPicture(const Surface& surface, AVFrame* picture);

}  // namespace nyx::open
