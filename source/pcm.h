#pragma once

#include <cstddef>
#include <optional>

#include "media/libav.h"
#include "platform/byte_span.h"

namespace nyx::source {

/// The coding of a stored sample.
enum class PcmKind { kSigned, kOffset, kFloat, kALaw, kMuLaw };

/// How the audio of a stream is stored and delivered. Little-endian signed integers are delivered,
/// or floating-point numbers where those are stored.
struct PcmFormat {
    PcmKind kind;
    int storedBytes;     ///< of one sample of one channel
    int deliveredBytes;  ///< the same, or 2 where 1 is stored
    bool bigEndian;

    bool operator==(const PcmFormat&) const = default;
};

/// The format of a codec; nothing for compressed audio.
std::optional<PcmFormat> PcmFormatOf(AVCodecID codec);

/// The byte of which silence is stored.
constexpr BYTE SilentByte(PcmKind kind) {
    switch (kind) {
        case PcmKind::kOffset:
            return 0x80;
        case PcmKind::kALaw:
            return 0xD5;
        case PcmKind::kMuLaw:
            return 0xFF;
        default:
            return 0;
    }
}

/// Converts whole samples; `to` has room for `deliveredBytes` times their number.
void ConvertPcm(const PcmFormat& format, ByteSpan from, BYTE* to) noexcept;

}  // namespace nyx::source
