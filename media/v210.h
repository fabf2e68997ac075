#pragma once

/// @file
/// The v210 layout of 10-bit 4:2:2: groups of 6 pixels in four 32-bit little-endian words, three
/// samples a word in bits 0-9, 10-19 and 20-29:
///
///     word 1  Cb0 Y0 Cr0      word 2  Y1 Cb1 Y2      word 3  Cr1 Y3 Cb2      word 4  Y4 Cr2 Y5
///
/// Rows are padded to whole blocks of 128 bytes, 48 pixels.

#include <array>
#include <cstdint>
#include <cstring>

#include "platform/win_types.h"

namespace nyx {

constexpr LONG kV210GroupPixels = 6;
constexpr LONG kV210GroupBytes = 16;
constexpr LONG kV210BlockPixels = 48;
constexpr LONG kV210BlockBytes = 128;

/// Bytes from row to row: whole blocks.
constexpr std::int64_t V210Stride(std::int64_t width) noexcept {
    return (width + kV210BlockPixels - 1) / kV210BlockPixels * kV210BlockBytes;
}

/// Bytes of a row's groups, without the padding.
constexpr std::int64_t V210RowBytes(std::int64_t width) noexcept {
    return (width + kV210GroupPixels - 1) / kV210GroupPixels * kV210GroupBytes;
}

/// Whether the groups of a row fit its stride, which may be negative.
constexpr bool V210RowFits(LONG width, LONG stride) noexcept {
    return V210RowBytes(width) <= (stride < 0 ? -std::int64_t{stride} : std::int64_t{stride});
}

/// The samples of a group, Cb Y Cr Y ..., 0 to 1023 each.
using V210Samples = std::array<std::uint16_t, 2 * kV210GroupPixels>;

inline V210Samples UnpackV210Group(const BYTE* group) noexcept {
    DWORD words[4];
    std::memcpy(words, group, sizeof(words));
    V210Samples samples;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<std::uint16_t>(words[i / 3] >> i % 3 * 10 & 0x3FF);
    }
    return samples;
}

inline void PackV210Group(const V210Samples& samples, BYTE* group) noexcept {
    DWORD words[4] = {};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        words[i / 3] |= DWORD{samples[i]} << i % 3 * 10;
    }
    std::memcpy(group, words, sizeof(words));
}

}  // namespace nyx
