#pragma once

/// @file
/// Rows of the 10-bit 4:2:2 format, which has the v210 layout: groups of 6 pixels in four 32-bit
/// little-endian words, three 10-bit samples a word in bits 0-9, 10-19 and 20-29:
///
///     word 1  Cb0 Y0 Cr0      word 2  Y1 Cb1 Y2      word 3  Cr1 Y3 Cb2      word 4  Y4 Cr2 Y5
///
/// Rows are padded to whole blocks of 128 bytes, 48 pixels.

#include <cstddef>

#include "platform/win_types.h"

namespace nyx {

constexpr LONG kGroupPixels = 6;
constexpr LONG kGroupBytes = 16;  ///< on the 10-bit side
constexpr LONG kGroupYuy2Bytes = 2 * kGroupPixels;

/// Sizes of one row in bytes; `stride` = `filled` + `gap`.
struct TenBitRowLayout {
    std::size_t stride;  ///< from row to row: whole blocks
    std::size_t filled;  ///< whole groups
    std::size_t gap;     ///< padding, neither read nor written
};

/// The layout of a row of `width` pixels; `width` is positive.
TenBitRowLayout TenBitRowLayoutFor(LONG width);

/// One implementation of the row kernels. Both read and write whole groups on the 10-bit side and
/// exactly 2 * width bytes of "YUY2" (Y0 Cb0 Y1 Cr0 ...); `width` is positive and even.
struct TenBitRowKernels {
    /// Unpacks to 8 bits: (s + 2) >> 2, at most 255.
    void (*unpack)(const BYTE* groups, BYTE* yuy2, LONG width);
    /// Packs 8-bit samples as s << 2, the usual widening (16 becomes 64, 235 becomes 940), which
    /// unpacks to the same value again. Samples past the row's end in its last group are 0.
    void (*pack)(const BYTE* yuy2, BYTE* groups, LONG width);
};

extern const TenBitRowKernels kTenBitRowsSsse3;
extern const TenBitRowKernels kTenBitRowsSse41;

/// The kernels that this processor runs best, null when it has no SSSE3.
const TenBitRowKernels* SelectTenBitRowKernels();

}  // namespace nyx
