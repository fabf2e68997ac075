#include "tape_summary.h"

#include <cstdlib>

#include "timecode.h"

namespace nyx::host {

void TapeSummary::Add(LONG index, const DvFacts& facts) {
    if (frames_ > 0 && index > next_) {
        events_.push_back({.kind = "missing", .frame = next_, .frames = index - next_});
    }
    AddTimecode(index, facts);
    AddRecording(index, facts);
    AddText("picture", index, DvPictureText(facts), &picture_);
    // The number of samples differs between the frames of one recording.
    std::vector<DvAudio> audio = facts.audio;
    for (DvAudio& group : audio) {
        group.samples = 0;
    }
    AddText("audio", index, DvAudioText(audio), &audio_);
    AddDamage(index, facts);
    ++frames_;
    next_ = index + 1;
}

void TapeSummary::AddTimecode(LONG index, const DvFacts& facts) {
    if (!facts.timecode) {
        return;
    }
    if (timecode_) {
        // Above 30 pictures a second two of them share a timecode.
        const LONG shared = facts.format.frameRateNum > 30 * facts.format.frameRateDen ? 2 : 1;
        const LONG day = FramesPerDay(*facts.timecode);
        const LONG steps =
            (FramesSinceMidnight(*facts.timecode) - FramesSinceMidnight(*timecode_) + day) % day;
        if (std::abs(steps * shared - (index - timecodeFrame_)) >= shared) {
            events_.push_back({.kind = "timecode",
                               .frame = index,
                               .before = TimecodeText(*timecode_),
                               .after = TimecodeText(*facts.timecode)});
        }
    }
    timecode_ = facts.timecode;
    timecodeFrame_ = index;
}

void TapeSummary::AddRecording(LONG index, const DvFacts& facts) {
    if (!facts.recordedAt) {
        return;
    }
    if (recording_) {
        constexpr LONG kFewestFramesPerSecond = 24;
        const long long seconds = *facts.recordedAt - *recording_->recordedAt;
        if (seconds < 0 || seconds > 1 + (index - recordingFrame_) / kFewestFramesPerSecond) {
            events_.push_back({.kind = "recording",
                               .frame = index,
                               .before = DvRecordingText(*recording_),
                               .after = DvRecordingText(facts)});
        }
    }
    recording_ = facts;
    recordingFrame_ = index;
}

void TapeSummary::AddText(const char* kind, LONG index, const std::string& now, std::string* last) {
    if (now.empty()) {
        return;
    }
    if (!last->empty() && *last != now) {
        events_.push_back({.kind = kind, .frame = index, .before = *last, .after = now});
    }
    *last = now;
}

void TapeSummary::AddDamage(LONG index, const DvFacts& facts) {
    if (facts.recognised && facts.damagedBlocks == 0) {
        return;
    }
    if (damageEnd_ != index) {
        damage_ = events_.size();
        events_.push_back({.kind = "damage", .frame = index, .frames = 0});
    }
    ++events_[damage_].frames;
    events_[damage_].blocks += facts.damagedBlocks;
    damageEnd_ = index + 1;
    ++damagedFrames_;
    damagedBlocks_ += facts.damagedBlocks;
}

}  // namespace nyx::host
