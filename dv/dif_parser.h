#pragma once

/// @file
/// Reads one compressed DV frame without decoding any video: variant, picture geometry, frame rate,
/// field order, aspect, audio layout, timecode and recording date (IEC 61834,
/// SMPTE 314M, SMPTE 370M).

#include <array>
#include <cstddef>
#include <utility>

#include "dv/audio_source.h"
#include "dv/format_table.h"
#include "dv/frame_format.h"
#include "dv/pack_search.h"

namespace nyx {

/// Two halves of up to four channels.
constexpr std::size_t kMaxDvChannels = 4;
constexpr std::size_t kAudioSlots = 2 * kMaxDvChannels;

/// The four payload bytes of a pack as one little-endian word.
struct PackPayload {
    LONG state = 0;   ///< 0 unset, 1 valid, 2 all ones
    LONG value = -1;  ///< -1 unset
};

/// The results of a parse. Pack pointers are into the caller's frame, null when the frame lacks the
/// pack.
struct DifState {
    const BYTE* frame = nullptr;
    std::size_t frameBytes = 0;
    DWORD sequenceCount = 0;
    DWORD sequencesPerChannel = 0;  ///< 10, 12 or 0 (a frame of no known size)
    DWORD channelCount = 0;

    const BYTE* videoSource = nullptr;
    const BYTE* videoControl = nullptr;
    const BYTE* videoRecDate = nullptr;
    const BYTE* videoRecTime = nullptr;
    const BYTE* frameRate = nullptr;
    /// Slot 2 * channel + half.
    std::array<const BYTE*, kAudioSlots> audioSource{};
    const BYTE* audioControl = nullptr;
    const BYTE* audioRecDate = nullptr;
    const BYTE* audioRecTime = nullptr;
    const BYTE* timecode = nullptr;
    const BYTE* binaryGroup = nullptr;

    FormatRecord format;

    LONG audioChannels = 0;         ///< sum over the slots
    LONG audioChannelsEven = 0;     ///< the same, rounded up to an even number
    LONG audioSamplesPerFrame = 0;  ///< the largest of any slot
    std::array<AudioRecord, kAudioSlots> audio{};

    PackPayload timecodePayload;
    PackPayload binaryGroupPayload;
};

/// Parses one frame and describes it. Never allocates, throws, reads outside the frame or writes
/// into it; keeps pointers into the frame, which must outlive it. For one thread at a time.
class CLvtDifParser {
  public:
    /// Reads the `size` bytes at `frame` (any size, null allowed), forgetting an earlier frame.
    /// 1 when the frame was recognised: application ID, audio source packs and picture format are
    /// all valid. E_FAIL otherwise. The fields that were found are set in both cases.
    [[nodiscard]] HRESULT Parse(const void* frame, std::size_t size);

    /// 0 top field first, 1 bottom field first, 2 progressive, -1 unknown.
    [[nodiscard]] LONG GetFieldOrder() const { return state_.format.fieldOrder; }

    /// The pixel aspect ratio as (x, y), both -1 when unknown.
    [[nodiscard]] std::pair<LONG, LONG> GetPixelAspect() const {
        return {state_.format.pixelAspectX, state_.format.pixelAspectY};
    }

    /// A DvFormatCode, -1 when unknown.
    [[nodiscard]] LONG GetFormatCode() const { return state_.format.formatCode; }

    /// Fields per second: 60, 50, or -1 when unknown.
    [[nodiscard]] LONG GetSystemRate() const { return state_.format.systemRate; }

    /// Payload of the timecode (0x13), binary group (0x14), video recording date (0x62) and video
    /// recording time (0x63) packs as one little-endian word, PC1 lowest; -1 without the pack.
    [[nodiscard]] LONG GetTimecodePack() const;
    [[nodiscard]] LONG GetBinaryGroupPack() const;
    [[nodiscard]] LONG GetRecDatePack() const;
    [[nodiscard]] LONG GetRecTimePack() const;

    /// All results. The two payload pairs are unset after every parse: use the operations above.
    [[nodiscard]] const DifState& State() const { return state_; }

  private:
    void MeasureFrame(const void* frame, std::size_t size);
    void LocatePacks();
    void FindFirstHalfAudio();
    bool DecodeAudio();
    [[nodiscard]] AudioTraits DescribeAudio() const;
    [[nodiscard]] std::size_t ParsedChannels() const;

    DifState state_;
};

}  // namespace nyx
