#pragma once

/// @file
/// The stand-ins' own coding: samples divided by a step, the differences to their neighbours, zlib.
/// Lossless for alpha, for 8-bit samples with a step of 4, and for all with a step of 1.

#include <windows.h>

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
    LONG step;   ///< quantiser step in codes of 10 bits
    LONG alpha;  ///< 0 without, 1 with; Zeta2 reports a kind of 1 more
};
static_assert(sizeof(FrameHeader) == 24);

/// The header at `frame`, when its tag starts with `tag` and its numbers are consistent. Reads the
/// header's bytes unchecked: an engine's probe gets no length argument.
std::optional<FrameHeader> ReadHeader(const void* frame, std::string_view tag);

/// Codes a picture with `step`, or the smallest coarser one that fits. The coded length, or
/// kNoRoom. May throw std::bad_alloc.
LONG EncodeFrame(std::string_view tag, const Picture& picture, LONG step, void* output,
                 std::size_t capacity);

/// Decodes a whole frame, empty when it is damaged. May throw std::bad_alloc.
std::optional<Picture> DecodeFrame(const void* frame, const FrameHeader& header);

/// zlib in one call each. An inflated size other than `size` is nothing.
std::vector<BYTE> Deflate(const std::vector<BYTE>& bytes);
std::optional<std::vector<BYTE>> Inflate(const BYTE* bytes, std::size_t count, std::size_t size);

}  // namespace standin
