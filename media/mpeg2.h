#pragma once

/// @file
/// MPEG-2 video (ISO/IEC 13818-2): start codes and the heights of production formats.

#include <cstddef>
#include <optional>

#include "platform/byte_span.h"

namespace nyx {

/// Start code values, table 6-1.
enum Mpeg2StartCode : BYTE {
    kMpeg2Picture = 0x00,
    kMpeg2SequenceHeader = 0xB3,
    kMpeg2Extension = 0xB5,
    kMpeg2Group = 0xB8,
};

/// Whether this start code begins at `bytes`, of which four can be read.
inline bool IsStartCode(const BYTE* bytes, Mpeg2StartCode code) noexcept {
    return bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1 && bytes[3] == code;
}

/// The offset of the first start code value at or after `from`, behind its prefix 00 00 01;
/// `frame.size()` when there is none.
inline std::size_t FindStartCode(ByteSpan frame, std::size_t from) noexcept {
    const BYTE* bytes = frame.data();
    for (std::size_t at = from; Holds(frame, at, 4); ++at) {
        if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) {
            return at + 3;
        }
    }
    return frame.size();
}

/// The bytes behind the first start code of this value at or after `from`; nothing without one.
inline std::optional<ByteSpan> FindStartCode(ByteSpan frame, Mpeg2StartCode code,
                                             std::size_t from = 0) noexcept {
    for (std::size_t at = FindStartCode(frame, from); at < frame.size();
         at = FindStartCode(frame, at)) {
        if (frame.data()[at] == code) {
            return Slice(frame, at + 1);
        }
    }
    return std::nullopt;
}

/// A picture that production formats code below lines of vertical blanking (SMPTE 356M).
struct Mpeg2Blanking {
    LONG width;
    LONG lines;       ///< of the picture
    LONG codedLines;  ///< with those above it
};
constexpr Mpeg2Blanking kMpeg2Blanking[] = {
    {1920, 1080, 1088}, {720, 576, 608}, {720, 486, 512}, {720, 480, 512}};

}  // namespace nyx
