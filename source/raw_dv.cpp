#include "source/raw_dv.h"

#include <algorithm>
#include <iterator>

#include "source/sample_clock.h"

namespace nyx::source {
namespace {

constexpr int kHeadBytes = 480;       // the blocks before the first audio block name the system
constexpr std::int64_t kProbes = 64;  // places at which a run is checked
constexpr std::size_t kMaxRuns = 100;

/// The system of the frame that begins at a position; null where none does.
const AVDVProfile* ProfileAt(ByteSource* file, std::int64_t position) {
    BYTE head[kHeadBytes];
    // A header block of the first sequence, IEC 61834-2.
    const bool begins = file->ReadAt(position, head) == kHeadBytes && head[0] == 0x1F &&
                        (head[1] & 0xF0) == 0 && head[2] == 0 && (head[3] & 0x7F) == 0x3F;
    return begins ? av_dv_frame_profile(nullptr, head, kHeadBytes) : nullptr;
}

/// Samples of a channel in a frame, IEC 61834-4: the minimum, and up to 63 more.
struct AudioRow {
    int rate;
    int min[2];  ///< 525/60, 625/50
};
constexpr AudioRow kAudio[] = {{48000, {1580, 1896}}, {44100, {1452, 1742}}, {32000, {1053, 1264}}};

}  // namespace

void RawDv::Find(ByteSource* file, std::int64_t firstFrame) {
    runs_.clear();
    FindRuns(file, firstFrame);
    if (runs_.size() == 1) {
        runs_.clear();  // libavformat's own times are right
    }
}

void RawDv::FindRuns(ByteSource* file, std::int64_t firstFrame) {
    const std::int64_t size = file->Size();
    REFERENCE_TIME start = 0;
    for (std::int64_t at = firstFrame; runs_.size() < kMaxRuns;) {
        const AVDVProfile* profile = ProfileAt(file, at);
        if (!profile) {
            return;
        }
        const int bytes = profile->frame_size;
        runs_.push_back({.position = at, .system = profile, .start = start});
        // Frame `good` is of this run, frame `bad` the first that is known not to be.
        const auto belongs = [&](std::int64_t frame) {
            return ProfileAt(file, at + frame * bytes) == profile;
        };
        const std::int64_t frames = (size - at) / bytes;
        std::int64_t good = 0;
        std::int64_t bad = frames;
        for (std::int64_t i = 1; i <= kProbes && bad == frames; ++i) {
            const std::int64_t frame = av_rescale(frames - 1, i, kProbes);
            if (frame <= good || belongs(frame)) {
                good = std::max(frame, good);
            } else {
                bad = frame;
            }
        }
        if (bad == frames) {
            return;
        }
        while (bad - good > 1) {
            const std::int64_t middle = good + (bad - good) / 2;
            if (belongs(middle)) {
                good = middle;
            } else {
                bad = middle;
            }
        }
        start = StartAt(at + bad * bytes);
        at += bad * bytes;
    }
}

const RawDv::Run& RawDv::RunAt(std::int64_t position) const {
    return *std::prev(
        std::ranges::upper_bound(runs_.begin() + 1, runs_.end(), position, {}, &Run::position));
}

REFERENCE_TIME RawDv::TimeAt(std::int64_t position, int framesLater) const {
    const Run& run = RunAt(position);
    const std::int64_t frame = Difference(position, run.position) / run.system->frame_size;
    return run.start + TimeOfTick(frame + framesLater, run.system->time_base);
}

std::pair<int, int> RawDv::FrameLengths() const {
    const auto [shortest, longest] = std::ranges::minmax_element(
        runs_, {}, [](const Run& run) { return run.system->frame_size; });
    return {shortest->system->frame_size, longest->system->frame_size};
}

std::int64_t RawDv::PositionAt(REFERENCE_TIME time) const {
    const Run& run =
        *std::prev(std::ranges::upper_bound(runs_.begin() + 1, runs_.end(), time, {}, &Run::start));
    const std::int64_t frame = TickAt(time - run.start, run.system->time_base);
    return run.position + run.system->frame_size * std::max<std::int64_t>(frame, 0);
}

int DvAudioRate(std::int64_t samples) {
    for (const AudioRow& row : kAudio) {
        for (const int min : row.min) {
            if (samples >= min && samples < min + 64) {
                return row.rate;
            }
        }
    }
    return 0;
}

}  // namespace nyx::source
