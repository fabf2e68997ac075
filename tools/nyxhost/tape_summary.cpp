#include "tape_summary.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "dv_description.h"

namespace nyx::host {
namespace {

/// Frames up to a timecode. With drop frame a minute lacks its first two numbers, but not each
/// tenth minute.
LONG Counted(LONG minutes, LONG seconds, LONG frames, LONG perSecond, bool drop) {
    return (60 * minutes + seconds) * perSecond + frames -
           (drop ? 2 * (minutes - minutes / 10) : 0);
}

LONG Counted(const Json& dv, LONG perSecond, bool drop) {
    long part[4]{};  // hours, minutes, seconds, frames
    std::sscanf(TextOf(dv["timecode"]).c_str(), "%ld:%ld:%ld%*c%ld", &part[0], &part[1], &part[2],
                &part[3]);
    return Counted(60 * part[0] + part[1], part[2], part[3], perSecond, drop);
}

/// Timecodes count 25 or 30 frames a second; of more frames, two share one.
bool TimecodeFollows(LONG frames, const Json& before, const Json& now) {
    const Json& picture = now["picture"];
    long rate = 0;
    long scale = 1;
    std::sscanf(TextOf(MemberOf(picture, "rate")).c_str(), "%ld/%ld", &rate, &scale);
    const LONG share = rate > 30 * scale ? 2 : 1;
    const LONG perSecond = MemberOf(picture, "system") == "625/50" ? 25 : 30;
    const bool drop = TextOf(now["timecode"]).find(';') != std::string::npos;
    const LONG day = Counted(24 * 60, 0, 0, perSecond, drop);
    const LONG steps =
        (Counted(now, perSecond, drop) - Counted(before, perSecond, drop) + day) % day;
    return std::abs(steps * share - frames) < share;
}

/// Seconds after 1970.
long long RecordedAt(const Json& dv) {
    using namespace std::chrono;
    int part[6]{};  // year, month, day, hours, minutes, seconds
    std::sscanf(DvRecordingText(dv).c_str(), "%d-%d-%d %d:%d:%d", &part[0], &part[1], &part[2],
                &part[3], &part[4], &part[5]);
    const sys_days date{year{part[0]} / part[1] / part[2]};
    return (date.time_since_epoch() + hours{part[3]} + minutes{part[4]} + seconds{part[5]}) /
           seconds{1};
}

bool RecordingFollows(LONG frames, const Json& before, const Json& now) {
    constexpr LONG kFewestFramesPerSecond = 24;
    const long long seconds = RecordedAt(now) - RecordedAt(before);
    return seconds >= 0 && seconds <= 1 + frames / kFewestFramesPerSecond;
}

}  // namespace

void TapeSummary::Add(LONG number, const Json& dv) {
    if (frames_ > 0 && number > next_) {
        events_.push_back({{"event", "missing"}, {"frame", next_}, {"frames", number - next_}});
    }
    ++frames_;
    next_ = number + 1;
    const bool dated = !dv["recording_date"].is_null() && !dv["recording_time"].is_null();
    Compare("timecode", number, dv, TextOf(dv["timecode"]), TimecodeFollows);
    Compare("recording", number, dv, dated ? DvRecordingText(dv) : "", RecordingFollows);
    Compare("picture", number, dv, DvPictureText(dv), nullptr);
    Compare("audio", number, dv, DvAudioText(dv, false), nullptr);
    AddDamage(number, dv);
}

void TapeSummary::Compare(const char* what, LONG number, const Json& dv, const std::string& text,
                          Follows follows) {
    if (text.empty()) {
        return;
    }
    const auto last = last_.find(what);
    if (last != last_.end() &&
        !(follows != nullptr ? follows(number - last->second.frame, last->second.dv, dv)
                             : last->second.text == text)) {
        events_.push_back({{"event", what},
                           {"frame", number},
                           {"frames", 1},
                           {"before", last->second.text},
                           {"after", text}});
    }
    last_[what] = {number, text, dv};
}

void TapeSummary::AddDamage(LONG number, const Json& dv) {
    const LONG blocks = dv["damaged_blocks"].get<LONG>();
    if (blocks == 0 && dv["recognised"].get<bool>()) {
        return;
    }
    if (damageEnd_ != number) {
        damage_ = events_.size();
        events_.push_back(
            {{"event", "damage"}, {"frame", number}, {"frames", 0}, {"damaged_blocks", 0}});
    }
    Json& event = events_[damage_];
    event["frames"] = event["frames"].get<LONG>() + 1;
    event["damaged_blocks"] = event["damaged_blocks"].get<LONG>() + blocks;
    damageEnd_ = number + 1;
    ++damagedFrames_;
    damagedBlocks_ += blocks;
}

Json TapeSummary::Document() const {
    return {{"dv_frames", frames_},
            {"damaged_frames", damagedFrames_},
            {"damaged_blocks", damagedBlocks_},
            {"events", events_}};
}

}  // namespace nyx::host
