#pragma once

#include <cstddef>
#include <optional>

#include "platform/win_types.h"
#include "source/libavformat.h"

namespace nyx::source {

/// How the sound of a stream is stored, and what of it is delivered: little-endian signed samples.
struct PcmFormat {
    int storedBytes;     ///< of one sample of one channel
    int deliveredBytes;  ///< the same, or 2 where 1 is stored
    bool bigEndian;
    bool offsetBinary;  ///< silence is 0x80
};

/// The format of a codec, or nothing for sound that is not uncompressed integers.
std::optional<PcmFormat> PcmFormatOf(AVCodecID codec);

/// Converts `count` samples; `to` has room for `count` times `deliveredBytes`.
void ConvertPcm(const PcmFormat& format, const BYTE* from, std::size_t count, BYTE* to);

}  // namespace nyx::source
