#pragma once

/// @file
/// The audio source pack (AAUX, ID 0x50; IEC 61834-4, SMPTE 314M), which describes one audio block.

#include "platform/win_types.h"

namespace nyx {

/// The audio of half a channel. All -1 until a pack was decoded, all 0 when there is no audio.
struct AudioRecord {
    LONG channels = -1;         ///< 0, 1 or 2
    LONG bitsPerSample = -1;    ///< 16, 12 or 20; 0 unknown
    LONG sampleRate = -1;       ///< 48000, 44100 or 32000 Hz; 0 unknown
    LONG samplesPerFrame = -1;  ///< per channel; 0 unknown
    LONG locked = 0;            ///< 1 when the sample clock is locked to the video
};
constexpr AudioRecord kNoAudio = {
    .channels = 0, .bitsPerSample = 0, .sampleRate = 0, .samplesPerFrame = 0};

/// The SMP field of an audio source pack (PC4 bits 5..3).
enum AudioSampling : BYTE { kSampling48000 = 0, kSampling44100 = 1, kSampling32000 = 2 };
BYTE AudioSamplingOf(const BYTE* pack);

/// True when the pack says that the sample clock is locked to the video (PC1 bit 7 clear).
bool IsLockedAudio(const BYTE* pack);

/// Decodes the five bytes at `pack` into `record`. A null pack, an empty one (payload all ones) and
/// one of another television system than `videoSourcePack` (when given) give kNoAudio and S_OK.
/// E_FAIL when a field has an invalid value; the other fields of `record` are filled all the same.
/// E_POINTER for a null record.
[[nodiscard]] HRESULT DecodeAudioSourcePack(const BYTE* pack, const BYTE* videoSourcePack,
                                            AudioRecord* record);

}  // namespace nyx
