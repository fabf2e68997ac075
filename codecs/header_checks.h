#pragma once

/// @file
/// What every codec's queries ask of a format header.

#include <cstdint>

#include "platform/win_types.h"

namespace nyx {

/// A header that is there, of at least 40 bytes, with one plane.
inline bool IsPlainHeader(const BITMAPINFOHEADER* header) {
    return header && header->biSize >= sizeof(BITMAPINFOHEADER) && header->biPlanes == 1;
}

/// The height's absolute value, in 64 bits because -2^31 has none in 32.
inline std::int64_t AbsoluteHeight(const BITMAPINFOHEADER& header) {
    const std::int64_t height = header.biHeight;
    return height < 0 ? -height : height;
}

}  // namespace nyx
