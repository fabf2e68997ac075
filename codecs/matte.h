#pragma once

#include "codecs/pixel_format_index.h"

namespace nyx {

/// Replaces every fully transparent pixel of a decoded picture by black, so that coding noise under
/// the matte is never visible. The values of transparent and black depend on the surface's layout;
/// layouts without alpha stay unchanged. No other thread may use the surface meanwhile.
void CleanMatte(const SurfaceFormat& surface);

}  // namespace nyx
