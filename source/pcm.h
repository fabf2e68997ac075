#pragma once

#include <cstddef>
#include <optional>

#include "media/libav.h"
#include "platform/win_types.h"

namespace nyx::source {

/// What a stored sample is.
enum class PcmKind { kSigned, kOffset, kFloat, kALaw, kMuLaw };

/// How the sound of a stream is stored, and what of it is delivered: little-endian signed integers,
/// or numbers of floating point where those are stored.
struct PcmFormat {
    PcmKind kind;
    int storedBytes;     ///< of one sample of one channel
    int deliveredBytes;  ///< the same, or 2 where 1 is stored
    bool bigEndian;
};

/// The format of a codec, or nothing for sound whose samples cannot be had one by one.
std::optional<PcmFormat> PcmFormatOf(AVCodecID codec);

/// Converts `count` samples; `to` has room for `count` times `deliveredBytes`.
void ConvertPcm(const PcmFormat& format, const BYTE* from, std::size_t count, BYTE* to);

}  // namespace nyx::source
