#pragma once

/// @file
/// The chunks in front of a compressed frame. All words are 32-bit little-endian:
///
///     "INFO"  N  infoA  infoB  aspectX  aspectY  [tag  size  payload]...      coded frame
///     0       4  8                               24                           8 + N

#include "codecs/codec.h"
#include "platform/byte_span.h"

namespace nyx {

/// Reads the "INFO" container at the start of a frame. True when it holds its four words, which
/// `info` then has, with the field order of its first "FIEL" chunk, if known, and the two words of
/// its first "RDRT" chunk. Chunks that are cut by the frame's or the container's end count as
/// absent; what is absent stays as it was.
bool ReadFrameChunks(ByteSpan frame, FrameInfo* info);

/// The coded frame behind an optional "INFO" container; empty when the container reaches to or past
/// the end of the bytes at hand.
ByteSpan SkipInfoChunk(ByteSpan frame);

}  // namespace nyx
