#include "source/pcm.h"

#include <algorithm>
#include <iterator>

namespace nyx::source {
namespace {

struct PcmRow {
    AVCodecID codec;
    PcmFormat format;
};
constexpr PcmRow kRows[] = {
    // Codec, {kind, bytes stored, bytes delivered, big-endian}.
    {AV_CODEC_ID_PCM_U8, {PcmKind::kOffset, 1, 2, false}},
    {AV_CODEC_ID_PCM_S8, {PcmKind::kSigned, 1, 2, false}},
    {AV_CODEC_ID_PCM_ALAW, {PcmKind::kALaw, 1, 2, false}},
    {AV_CODEC_ID_PCM_MULAW, {PcmKind::kMuLaw, 1, 2, false}},
    {AV_CODEC_ID_PCM_S16LE, {PcmKind::kSigned, 2, 2, false}},
    {AV_CODEC_ID_PCM_S16BE, {PcmKind::kSigned, 2, 2, true}},
    {AV_CODEC_ID_PCM_S24LE, {PcmKind::kSigned, 3, 3, false}},
    {AV_CODEC_ID_PCM_S24BE, {PcmKind::kSigned, 3, 3, true}},
    {AV_CODEC_ID_PCM_S32LE, {PcmKind::kSigned, 4, 4, false}},
    {AV_CODEC_ID_PCM_S32BE, {PcmKind::kSigned, 4, 4, true}},
    {AV_CODEC_ID_PCM_F32LE, {PcmKind::kFloat, 4, 4, false}},
    {AV_CODEC_ID_PCM_F32BE, {PcmKind::kFloat, 4, 4, true}},
    {AV_CODEC_ID_PCM_F64LE, {PcmKind::kFloat, 8, 8, false}},
    {AV_CODEC_ID_PCM_F64BE, {PcmKind::kFloat, 8, 8, true}},
};

/// Expands a sample of one byte to 16 bits. ITU-T G.711: a sign, three bits of exponent, four of
/// mantissa. The A-law inverts every other bit; the mu-law inverts all of them and has a bias of 33
/// steps. The values are the middles of the intervals, as the top 13 or 14 of 16 bits.
int Expand(PcmKind kind, BYTE stored) {
    if (kind == PcmKind::kSigned || kind == PcmKind::kOffset) {
        return (stored ^ (kind == PcmKind::kOffset ? 0x80 : 0)) * 256;
    }
    const bool aLaw = kind == PcmKind::kALaw;
    const int code = stored ^ (aLaw ? 0x55 : 0xFF);
    const int exponent = code >> 4 & 7;
    const int step = (code & 0xF) * 2 + 1;
    int size = (((step + 32) << exponent) - 33) * 4;
    if (aLaw) {
        size = exponent == 0 ? step * 8 : (step + 32) << (exponent + 2);
    }
    return ((code & 0x80) != 0) == aLaw ? size : -size;
}

}  // namespace

std::optional<PcmFormat> PcmFormatOf(AVCodecID codec) {
    const auto* row = std::ranges::find(kRows, codec, &PcmRow::codec);
    return row != std::end(kRows) ? std::optional(row->format) : std::nullopt;
}

void ConvertPcm(const PcmFormat& format, ByteSpan from, BYTE* to) noexcept {
    const auto bytes = static_cast<std::size_t>(format.storedBytes);
    if (bytes != 1 && !format.bigEndian) {
        std::copy_n(from.data(), from.size(), to);
        return;
    }
    for (std::size_t at = 0; Holds(from, at, bytes); at += bytes) {
        const BYTE* stored = from.data() + at;
        if (bytes == 1) {
            const int sample = Expand(format.kind, *stored);
            *to++ = static_cast<BYTE>(sample);
            *to++ = static_cast<BYTE>(sample >> 8);
        } else {
            to = std::reverse_copy(stored, stored + bytes, to);
        }
    }
}

}  // namespace nyx::source
