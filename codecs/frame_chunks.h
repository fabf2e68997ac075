#pragma once

/// @file
/// The chunks in front of a compressed frame. All words are 32-bit little-endian:
///
///     "INFO"  N  infoA  infoB  aspectX  aspectY  [tag  size  payload]...      coded frame
///     0       4  8                               24                           8 + N

#include <optional>

#include "platform/byte_span.h"

namespace nyx {

/// The container's four words.
struct InfoWords {
    LONG infoA;
    LONG infoB;
    LONG pixelAspectX;
    LONG pixelAspectY;
};

/// The two words of an "RDRT" sub-chunk.
struct RdrtWords {
    LONG a;
    LONG b;
};

/// A bounded reader of the "INFO" container at the start of a frame. Chunks that are cut by the
/// frame's or the container's end count as absent. Borrows the frame's bytes.
class FrameChunks {
  public:
    explicit FrameChunks(ByteSpan frame);

    /// The container's words, when the frame starts with one that holds them.
    std::optional<InfoWords> Info() const;

    /// The first payload word of "FIEL", a field code.
    std::optional<DWORD> FieldCode() const;

    /// The two payload words of "RDRT".
    std::optional<RdrtWords> Rdrt() const;

  private:
    ByteSpan Find(DWORD tag) const;

    ByteSpan container_;  // cut to the bytes at hand; empty when there is none
};

/// The coded frame behind an optional "INFO" container; empty when the container reaches to or past
/// the end of the bytes at hand.
ByteSpan SkipInfoChunk(ByteSpan frame);

}  // namespace nyx
