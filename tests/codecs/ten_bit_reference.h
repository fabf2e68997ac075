#pragma once

#include <vector>

#include "platform/win_types.h"

namespace nyx::test {

/// A 4:2:2 picture as plain samples, Cb Y Cr Y per pixel pair, in the order of the v210 layout.
struct TenBitPicture {
    LONG width;
    LONG height;
    std::vector<WORD> samples;  // 2 * width a row
};

/// A picture of pseudo-random 10-bit samples, with the extremes well represented.
TenBitPicture RandomTenBitPicture(LONG width, LONG height, unsigned seed);

/// The frame's bytes, written sample by sample; padding and unread bits are filled with `filler`.
std::vector<BYTE> EncodeTenBitFrame(const TenBitPicture& picture, BYTE filler);

/// The picture as 8-bit "YUY2" without row gaps, by the plain rule (s + 2) >> 2, at most 255.
std::vector<BYTE> ReferenceYuy2(const TenBitPicture& picture);

}  // namespace nyx::test
