#pragma once

/// @file
/// Checks of format headers that every codec makes.

#include <cstdint>

#include "platform/win_types.h"

namespace nyx {

/// True for a non-null header of at least 40 bytes, with one plane.
inline bool IsPlainHeader(const BITMAPINFOHEADER* header) noexcept {
    return header && header->biSize >= sizeof(BITMAPINFOHEADER) && header->biPlanes == 1;
}

/// The height's absolute value, in 64 bits because -2^31 has none in 32.
inline std::int64_t AbsoluteHeight(const BITMAPINFOHEADER& header) noexcept {
    const std::int64_t height = header.biHeight;
    return height < 0 ? -height : height;
}

/// Whether a compressed picture has pixels and fits an output of the same height.
inline bool FitsOutput(const BITMAPINFOHEADER& input, const BITMAPINFOHEADER& output) noexcept {
    return input.biWidth >= 1 && input.biWidth <= output.biWidth && input.biHeight >= 1 &&
           input.biHeight == AbsoluteHeight(output);
}

}  // namespace nyx
