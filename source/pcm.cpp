#include "source/pcm.h"

#include <cstring>

namespace nyx::source {

std::optional<PcmFormat> PcmFormatOf(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_PCM_U8:
            return PcmFormat{1, 2, false, true};
        case AV_CODEC_ID_PCM_S8:
            return PcmFormat{1, 2, false, false};
        case AV_CODEC_ID_PCM_S16LE:
        case AV_CODEC_ID_PCM_S16BE:
            return PcmFormat{2, 2, codec == AV_CODEC_ID_PCM_S16BE, false};
        case AV_CODEC_ID_PCM_S24LE:
        case AV_CODEC_ID_PCM_S24BE:
            return PcmFormat{3, 3, codec == AV_CODEC_ID_PCM_S24BE, false};
        case AV_CODEC_ID_PCM_S32LE:
        case AV_CODEC_ID_PCM_S32BE:
            return PcmFormat{4, 4, codec == AV_CODEC_ID_PCM_S32BE, false};
        default:
            return std::nullopt;
    }
}

void ConvertPcm(const PcmFormat& format, const BYTE* from, std::size_t count, BYTE* to) {
    const auto bytes = static_cast<std::size_t>(format.storedBytes);
    if (bytes != 1 && !format.bigEndian) {
        std::memcpy(to, from, count * bytes);
        return;
    }
    for (; count > 0; --count, from += bytes) {
        if (bytes == 1) {
            *to++ = 0;
        }
        for (std::size_t byte = bytes; byte > 0; --byte) {
            *to++ = from[byte - 1] ^ (format.offsetBinary ? 0x80 : 0);
        }
    }
}

}  // namespace nyx::source
