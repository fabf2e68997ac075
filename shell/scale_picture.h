#pragma once

#include <vector>

#include "platform/win_types.h"

namespace nyx::shell {

/// Blue, green, red and an unused byte a pixel; rows from the top, without gaps.
struct Picture {
    LONG width = 0;
    LONG height = 0;
    std::vector<BYTE> pixels{};
};

/// Scales a picture to a size; all sides are positive. A pixel of the result is the mean of those
/// around its place, weighted by a triangle as wide as two pixels of the coarser picture: nothing
/// is skipped, and edges do not ring. The unused bytes become 255. Throws std::bad_alloc.
///
/// The system's own scaler has no common result: Wine's takes the nearest pixel for every method.
Picture ScalePicture(const Picture& from, LONG width, LONG height);

}  // namespace nyx::shell
