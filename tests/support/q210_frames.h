#pragma once

#include <functional>
#include <vector>

#include "platform/win_types.h"

namespace nyx::test {

/// One pixel's samples at 10 bits; chroma counts only at even pixels.
struct TenBitPixel {
    unsigned y;
    unsigned cb;
    unsigned cr;
};

/// Bytes of one row: whole 128-byte blocks of 48 pixels.
LONG Q210RowBytes(LONG width);

/// A Q210 frame (the v210 word layout) with the pixels that `pixel(x, y)` gives, rows top to
/// bottom. Unused bits and the row's padding are set, so that a reader which takes them in shows
/// it.
std::vector<BYTE> Q210Frame(LONG width, LONG height,
                            const std::function<TenBitPixel(LONG x, LONG y)>& pixel);

/// The same pixel everywhere.
std::vector<BYTE> FlatQ210Frame(LONG width, LONG height, TenBitPixel pixel);

}  // namespace nyx::test
