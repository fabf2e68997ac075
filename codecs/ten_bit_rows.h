#pragma once

/// @file
/// Rows of the 10-bit 4:2:2 format, which has the v210 layout.

#include <cstddef>

#include "media/v210.h"

namespace nyx {

constexpr LONG kGroupYuy2Bytes = 2 * kV210GroupPixels;

/// Sizes of one row in bytes; `stride` = `filled` + `gap`.
struct TenBitRowLayout {
    std::size_t stride;  ///< from row to row: whole blocks
    std::size_t filled;  ///< whole groups
    std::size_t gap;     ///< padding, neither read nor written
};

/// The layout of a row of `width` pixels; `width` is positive.
TenBitRowLayout TenBitRowLayoutFor(LONG width) noexcept;

/// One implementation of the row kernels. Both read and write whole groups on the 10-bit side and
/// exactly 2 * width bytes of "YUY2" (Y0 Cb0 Y1 Cr0 ...); `width` is positive and even.
struct TenBitRowKernels {
    /// Unpacks to 8 bits: (s + 2) >> 2, at most 255.
    void (*unpack)(const BYTE* groups, BYTE* yuy2, LONG width) noexcept;
    /// Packs 8-bit samples as s << 2, the usual widening (16 becomes 64, 235 becomes 940), which
    /// unpacks to the same value again. Samples past the row's end in its last group are 0.
    void (*pack)(const BYTE* yuy2, BYTE* groups, LONG width) noexcept;
};

extern const TenBitRowKernels kTenBitRowsSsse3;
extern const TenBitRowKernels kTenBitRowsSse41;

/// The fastest kernels for this processor, null when it has no SSSE3.
const TenBitRowKernels* SelectTenBitRowKernels();

}  // namespace nyx
