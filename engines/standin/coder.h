#pragma once

/// @file
/// The stand-ins' own coding: 8 by 8 cosine transform, one quantiser step for all coefficients,
/// zlib. With step s the mean squared error before rounding and clamping is at most (s / 2)^2 in
/// sample units, because the transform is orthonormal. Alpha is kept exactly.

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "engines/standin/picture.h"

namespace standin {

/// The words in front of a frame, little-endian.
struct FrameHeader {
    BYTE tag[4];
    DWORD codedLength;  ///< of the whole frame, header included
    LONG width;
    LONG height;
    LONG depth;        ///< bits per sample
    float step;        ///< quantiser step
    DWORD bodyBytes;   ///< deflated coefficients behind the header
    DWORD alphaBytes;  ///< deflated alpha behind those, 0 for an opaque picture
};
static_assert(sizeof(FrameHeader) == 32);

/// The header at `frame`, when its tag starts with `tag` and its numbers belong together. Reads the
/// header's 32 bytes blindly: an engine's probe is told no length.
std::optional<FrameHeader> ReadHeader(const void* frame, std::string_view tag);

/// Codes a picture in at most `capacity` bytes, with `step` or the smallest coarser one that fits.
/// Empty when nothing fits. May throw std::bad_alloc.
std::vector<BYTE> EncodeFrame(std::string_view tag, const Picture& picture, float step,
                              std::size_t capacity);

/// Decodes a whole frame, empty when it is damaged. May throw std::bad_alloc.
std::optional<Picture> DecodeFrame(const BYTE* frame, const FrameHeader& header);

/// zlib in one call each. An inflated size other than `size` is nothing.
std::vector<BYTE> Deflate(const std::vector<BYTE>& bytes);
std::optional<std::vector<BYTE>> Inflate(const BYTE* bytes, std::size_t count, std::size_t size);

}  // namespace standin
