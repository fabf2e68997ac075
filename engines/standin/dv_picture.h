#pragma once

/// @file
/// The stand-in DV engine's picture of a frame, of which tests can compute every pixel: slanted
/// stripes whose position and colour depend on the frame's bytes.

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace standin {

/// FNV-1a over a whole frame.
inline std::uint32_t DvFrameDigest(const BYTE* frame, std::size_t size) {
    std::uint32_t digest = 2166136261u;
    for (std::size_t i = 0; i < size; ++i) {
        digest = (digest ^ frame[i]) * 16777619u;
    }
    return digest;
}

/// Samples of the pixel at (x, y), within the video range.
inline BYTE DvLuma(std::uint32_t digest, int x, int y) {
    return static_cast<BYTE>(16 + (digest % 220 + static_cast<std::uint32_t>(3 * x + y)) % 220);
}
inline BYTE DvBlue(std::uint32_t digest, int x, int y) {
    return static_cast<BYTE>(64 + (digest / 220 + static_cast<std::uint32_t>(x / 2 + y)) % 128);
}
inline BYTE DvRed(std::uint32_t digest, int x, int y) {
    return static_cast<BYTE>(64 + (digest / 28160 + static_cast<std::uint32_t>(x + y / 2)) % 128);
}

}  // namespace standin
