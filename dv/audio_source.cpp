#include "dv/audio_source.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "dv/dif_layout.h"

namespace nyx {
namespace {

/// Sampling frequency and the minimum of samples per frame in each system; AF_SIZE is the excess.
struct SamplingClass {
    LONG rate;
    LONG minSamples[2];  // 525/60, 625/50
};

constexpr SamplingClass kSamplingClasses[] = {
    {48000, {1580, 1896}},
    {44100, {1452, 1742}},
    {32000, {1053, 1264}},
};

constexpr BYTE kSystemBit = 0x20;         // in PC3
constexpr BYTE kSamplesUnknown = 63;      // AF_SIZE without information
constexpr BYTE kTwelveBitQuantizing = 1;  // QU; recorded at 32 kHz only
constexpr BYTE kNoAudioMode = 15;         // AUDIO_MODE of a block without audio
constexpr LONG kBitsByQuantizing[] = {16, 12, 20};

bool IsEmpty(const BYTE* pack) {
    return std::all_of(pack + kPc1, pack + kPackBytes, [](BYTE byte) { return byte == 0xFF; });
}

/// Channels of one audio block by CHN (0: one channel per block, 1: two) and AUDIO_MODE; nothing
/// for an invalid pair.
std::optional<LONG> ChannelCount(BYTE chn, BYTE mode) {
    if (mode == kNoAudioMode && chn < 2) {
        return 0;
    }
    if (chn == 0 && mode <= 2) {
        return 1;
    }
    if (chn == 1 && mode <= 5) {
        return mode == 1 || mode == 5 ? 1 : 2;
    }
    return std::nullopt;
}

}  // namespace

BYTE AudioSamplingOf(const BYTE* pack) {
    return pack[kPc4] >> 3 & 7;
}

bool IsLockedAudio(const BYTE* pack) {
    return (pack[kPc1] & 0x80) == 0;
}

HRESULT DecodeAudioSourcePack(const BYTE* pack, const BYTE* videoSourcePack, AudioRecord* record) {
    if (!record) {
        return E_POINTER;
    }
    *record = kNoAudio;
    if (!pack || IsEmpty(pack)) {
        return S_OK;
    }
    if (videoSourcePack && ((videoSourcePack[kPc3] ^ pack[kPc3]) & kSystemBit)) {
        return S_OK;
    }
    HRESULT result = S_OK;
    record->locked = IsLockedAudio(pack);

    const BYTE quantizing = pack[kPc4] & 7;
    const BYTE sampling =
        quantizing == kTwelveBitQuantizing ? BYTE{kSampling32000} : AudioSamplingOf(pack);
    if (sampling < std::size(kSamplingClasses)) {
        const SamplingClass& samplingClass = kSamplingClasses[sampling];
        const BYTE afSize = pack[kPc1] & 63;
        record->sampleRate = samplingClass.rate;
        if (afSize != kSamplesUnknown) {
            record->samplesPerFrame =
                afSize + samplingClass.minSamples[(pack[kPc3] & kSystemBit) != 0];
        }
    } else {
        result = E_FAIL;
    }

    if (const auto channels = ChannelCount(pack[kPc2] >> 5 & 3, pack[kPc2] & 15)) {
        record->channels = *channels;
    } else {
        result = E_FAIL;
    }

    if (quantizing < std::size(kBitsByQuantizing)) {
        record->bitsPerSample = kBitsByQuantizing[quantizing];
    } else {
        result = E_FAIL;
    }
    return result;
}

}  // namespace nyx
