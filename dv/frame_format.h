#pragma once

/// @file
/// Derives a frame's format record from its packs. Every pack is five readable bytes, or null when
/// the frame has none.

#include <optional>

#include "dv/format_table.h"

namespace nyx {

/// Application IDs (APT and its repetitions in the headers and subcode blocks; IEC 61834-2,
/// SMPTE 314M).
enum ApplicationId : BYTE {
    kApplicationDv = 0,
    kApplicationDvcPro = 1,
    kApplicationUnknown = 7,
};

/// The properties of a frame's audio by which the DV25 variants differ.
struct AudioTraits {
    std::optional<BYTE> sampling;  ///< SMP field of the first audio source pack, when there is one
    bool locked = false;           ///< any audio source pack says that the audio is locked
};

/// The STYPE field of a video source pack: the signal type, 0 for DV25.
BYTE SignalTypeOf(const BYTE* videoSource);

/// Fills `format` from the video source and source control packs. False, with every field -1, when
/// system, type or aspect is missing or unknown; false, with the table row's values, for a
/// combination that no recorder writes.
bool LookUpFormat(const BYTE* videoSource, const BYTE* videoControl, FormatRecord* format);

/// Chooses the DV25 variant in a format that LookUpFormat found.
void RefineFormatCode(BYTE applicationId, const AudioTraits& audio, FormatRecord* format);

/// Copies recorded rate and frame structure from the frame-rate pack into a format that
/// LookUpFormat found. A pack with a wrong check byte changes nothing.
void ApplyFrameRatePack(const BYTE* frameRate, FormatRecord* format);

}  // namespace nyx
