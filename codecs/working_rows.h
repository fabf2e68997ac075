#pragma once

/// @file
/// The callbacks by which the Zeta2 engine stores its 10-bit 4:2:2 rows in a packed professional
/// layout, or reads them: one for each pixel-format index from 13 on and alpha mode. They keep no
/// state and allocate nothing.
///
/// Working rows, top to bottom in processing order: for each pixel pair Y0, Cb, Y1, Cr, one 16-bit
/// little-endian word each, 0 to 1023 (the "W210" layout of the conversion library). Alpha rows:
/// one such word per pixel. Without an alpha plane pixels are opaque.
///
///     "v210"          the samples unchanged; a row that does not fit its stride is skipped
///     "v408" "r408"   samples rounded to 8 bits, (s + 2) >> 2 and 255 at most, alpha scaled to
///     "2vuy"          0..255, then stored and read as described in row_callbacks.h
///     "r4fl"          as there, from s / 4 without rounding
///     "b64a"          R, G, B of full range, by the BT.709 matrix for high definition indices and
///                     the BT.601 matrix for the others; A, R, G, B as big-endian words.
///                     Premultiplied colours are colour * alpha / 65535, rounded.
///
/// Widening 8 bits to 10 multiplies by 4, alpha by 1023 / 255.

#include "codecs/pixel_format_index.h"
#include "codecs/row_callbacks.h"

namespace nyx {

/// Stores `rows` rows. `picture` is the first one; strides are in bytes, the picture's may be
/// negative. `alphaRows` may be null. An odd last pixel is skipped; a "b64a" row that cannot be
/// converted, without SSSE3, becomes transparent black.
using WorkingRowsWriter = void(WINAPI*)(BYTE* picture, LONG stride, const BYTE* workingRows,
                                        LONG workingStride, const BYTE* alphaRows, LONG alphaStride,
                                        LONG width, LONG rows);

/// Reads `rows` rows; `alphaRows`, if not null, is filled, with opaque alpha where the layout has
/// none.
using WorkingRowsReader = void(WINAPI*)(const BYTE* picture, LONG stride, BYTE* workingRows,
                                        LONG workingStride, BYTE* alphaRows, LONG alphaStride,
                                        LONG width, LONG rows);

struct WorkingRowsCallbacks {
    WorkingRowsWriter write;
    WorkingRowsReader read;
};

/// By pixel-format index, from kIndexV210 on, and AlphaUse.
extern const std::array<WorkingRowsCallbacks, kAlphaUses>
    kWorkingRows[kPixelFormatCount - kIndexV210];

}  // namespace nyx
