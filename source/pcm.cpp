#include "source/pcm.h"

#include <cstring>

namespace nyx::source {
namespace {

struct Row {
    AVCodecID codec;
    PcmFormat format;
};

constexpr Row kRows[] = {
    {AV_CODEC_ID_PCM_U8, {1, 2, false, true}},     {AV_CODEC_ID_PCM_S8, {1, 2, false, false}},
    {AV_CODEC_ID_PCM_S16LE, {2, 2, false, false}}, {AV_CODEC_ID_PCM_S16BE, {2, 2, true, false}},
    {AV_CODEC_ID_PCM_S24LE, {3, 3, false, false}}, {AV_CODEC_ID_PCM_S24BE, {3, 3, true, false}},
    {AV_CODEC_ID_PCM_S32LE, {4, 4, false, false}}, {AV_CODEC_ID_PCM_S32BE, {4, 4, true, false}},
};

}  // namespace

std::optional<PcmFormat> PcmFormatOf(AVCodecID codec) {
    for (const Row& row : kRows) {
        if (row.codec == codec) {
            return row.format;
        }
    }
    return std::nullopt;
}

void ConvertPcm(const PcmFormat& format, const BYTE* from, std::size_t count, BYTE* to) {
    const auto bytes = static_cast<std::size_t>(format.storedBytes);
    if (bytes == 1) {
        const BYTE flip = format.offsetBinary ? 0x80 : 0;
        for (std::size_t i = 0; i < count; ++i) {
            to[2 * i] = 0;
            to[2 * i + 1] = from[i] ^ flip;
        }
    } else if (format.bigEndian) {
        for (std::size_t i = 0; i < count; ++i, from += bytes, to += bytes) {
            for (std::size_t byte = 0; byte < bytes; ++byte) {
                to[byte] = from[bytes - 1 - byte];
            }
        }
    } else if (count != 0) {
        std::memcpy(to, from, count * bytes);
    }
}

}  // namespace nyx::source
