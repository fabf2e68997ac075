#pragma once

#include "codecs/pixel_format_index.h"

namespace nyx {

/// Turns every fully transparent pixel of a decoded picture into clean black, so that whatever the
/// coder left under the matte is never seen. What counts as transparent, and as black, depends on
/// the surface's layout; layouts without alpha are left alone. The surface holds `width` by
/// `height` pixels and is this call's alone.
void CleanMatte(const SurfaceFormat& surface);

}  // namespace nyx
