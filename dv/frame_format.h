#pragma once

/// @file
/// From a frame's packs to its format record. Every pack is five readable bytes, or null when the
/// frame does not carry it.

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

/// What the frame's audio adds to the choice between the DV25 variants.
struct AudioTraits {
    std::optional<BYTE> sampling;  ///< SMP field of the first audio source pack, when there is one
    bool locked = false;           ///< any audio source pack tells of locked audio
};

/// The STYPE field of a video source pack: the signal type, 0 for DV25.
BYTE SignalTypeOf(const BYTE* videoSource);

/// Fills `format` from the video source and source control packs. False, with every field -1, when
/// system, type or aspect is missing or unknown; false, with the table row's values, for a
/// combination that no recorder writes.
bool LookUpFormat(const BYTE* videoSource, const BYTE* videoControl, FormatRecord* format);

/// Tells the DV25 variants apart in a format that was looked up with success.
void RefineFormatCode(BYTE applicationId, const AudioTraits& audio, FormatRecord* format);

/// Takes recorded rate and frame structure from the frame-rate pack into a format that was looked
/// up with success. A pack with a wrong check byte changes nothing.
void ApplyFrameRatePack(const BYTE* frameRate, FormatRecord* format);

}  // namespace nyx
