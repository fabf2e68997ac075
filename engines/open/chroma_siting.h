#pragma once

/// @file
/// Converts the chroma of decoded planes to that of "YUY2", whose samples sit on the even pixels of
/// every line.

#include <array>

#include "platform/win_types.h"

namespace nyx::open {

/// The vertical position of a 4:2:0 picture's chroma rows: the distance of each field's first row
/// below the field's first line, in quarters of a field's line distance. A row serves two lines.
struct ChromaSiting {
    int fields;             ///< 2 when chroma rows alternate between the fields, 1 for a frame
    std::array<int, 2> cb;  ///< by field
    std::array<int, 2> cr;
};

/// 625/50 DV (IEC 61834-2): chroma is line-sequential in each field, Cr on its even lines and Cb on
/// its odd ones.
constexpr ChromaSiting kDvSiting = {2, {4, 4}, {0, 0}};

/// MPEG-2 (ISO/IEC 13818-2, figures 6-1 and 6-2): halfway between two lines of the frame, which the
/// rows of a frame picture's fields share.
constexpr ChromaSiting kMpegProgressiveSiting = {1, {2, 2}, {2, 2}};
constexpr ChromaSiting kMpegInterlacedSiting = {2, {1, 3}, {1, 3}};

/// A chroma plane and its size.
struct ChromaPlane {
    const BYTE* data;
    int stride;
    int width;
    int height;

    const BYTE* Row(int y) const { return data + std::ptrdiff_t{y} * stride; }
};

/// The chroma of picture line `y`, interpolated linearly between rows of the line's own field into
/// `out` of the plane's width. `siting` is one of the two arrays above.
void InterpolateRow(const ChromaPlane& plane, int fields, const std::array<int, 2>& siting, int y,
                    BYTE* out);

/// 4:1:1 to 4:2:2: samples of every fourth pixel, and means between them. Writes `count` samples.
void DoubleSamples(const BYTE* samples, int count, BYTE* out);

/// One line of "YUY2" of a line's luma and its 4:2:2 chroma; `width` is even.
void Interleave(const BYTE* luma, const BYTE* cb, const BYTE* cr, int width, BYTE* out);

}  // namespace nyx::open
