#pragma once

#include <vector>

#include "platform/win_types.h"

namespace nyx::shell {

/// Rows of pixels from the top, without gaps.
struct Picture {
    LONG width = 0;
    LONG height = 0;
    std::vector<BYTE> pixels{};
};

/// Scales a picture of blue, green and red bytes, as codecs write it, to a size; all sides are
/// positive. A pixel of the result has four bytes: blue, green, red and 255. It is the mean of
/// those around its place, weighted by a triangle as wide as two pixels of the coarser picture:
/// nothing is skipped, and edges do not ring. Throws std::bad_alloc.
///
/// The system's own scaler has no common result: Wine's takes the nearest pixel for every method.
Picture ScalePicture(const Picture& from, LONG width, LONG height);

}  // namespace nyx::shell
