#pragma once

#include <string>
#include <vector>

#include "dv_description.h"

namespace nyx::host {

/// A change between a frame and the one before it.
struct TapeEvent {
    const char* kind;        ///< "timecode", "recording", "picture", "audio", "damage" or "missing"
    LONG frame;              ///< the first one
    LONG frames = 1;         ///< in a row: damaged or missing
    std::size_t blocks = 0;  ///< damaged, in all of them
    std::string before{};    ///< in words; empty for damaged and missing frames
    std::string after{};
};

/// Compares the frames of a DV recording in order. A frame that lacks a value is skipped: the next
/// one that has it is compared with the last one that had it. A damaged frame has damaged blocks,
/// or is not recognised.
class TapeSummary {
  public:
    /// Takes the frame with number `index` into account.
    void Add(LONG index, const DvFacts& facts);

    const std::vector<TapeEvent>& Events() const { return events_; }

    LONG Frames() const { return frames_; }
    LONG DamagedFrames() const { return damagedFrames_; }
    std::size_t DamagedBlocks() const { return damagedBlocks_; }

  private:
    void AddTimecode(LONG index, const DvFacts& facts);
    void AddRecording(LONG index, const DvFacts& facts);
    void AddText(const char* kind, LONG index, const std::string& now, std::string* last);
    void AddDamage(LONG index, const DvFacts& facts);

    std::vector<TapeEvent> events_;
    LONG frames_ = 0;
    LONG next_ = 0;  ///< number after the last frame
    LONG damagedFrames_ = 0;
    std::size_t damagedBlocks_ = 0;
    std::size_t damage_ = 0;  ///< the last event of damage
    LONG damageEnd_ = -1;     ///< number after its last frame
    LONG timecodeFrame_ = 0;  ///< the last frame that had a timecode
    std::optional<NyxTimecode> timecode_;
    LONG recordingFrame_ = 0;  ///< the last frame that had a date and a time
    std::optional<DvFacts> recording_;
    std::string picture_;
    std::string audio_;
};

}  // namespace nyx::host
