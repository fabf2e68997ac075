#pragma once

#include <vector>

#include "media/libav.h"
#include "platform/byte_span.h"
#include "source/byte_source.h"

namespace nyx::source {

/// Where the frames of a file of raw DV lie, whose system may change between 625 and 525 lines, and
/// with it the length of a frame in bytes and in time. One thread at a time.
class RawDv {
  public:
    /// Looks for the places where the system changes, from the first frame on; few reads. Knows
    /// none afterwards when nothing changes.
    void Find(ByteSource* file, std::int64_t firstFrame);

    /// Whether the system changes anywhere. Only then the following may be called.
    bool changes() const { return !runs_.empty(); }
    /// When the first frames begin that last at `from` or later and are of a system that is not
    /// taken; `never` if none do.
    template <class Taken>
    REFERENCE_TIME FirstRefused(REFERENCE_TIME from, REFERENCE_TIME never, Taken taken) const {
        for (std::size_t i = 0; i < runs_.size(); ++i) {
            const bool past = i + 1 < runs_.size() && runs_[i + 1].start <= from;
            if (!past && !taken(*runs_[i].system)) {
                return runs_[i].start;
            }
        }
        return never;
    }
    /// When the frame at a place of the file begins and ends.
    REFERENCE_TIME StartAt(std::int64_t position) const { return TimeAt(position, 0); }
    REFERENCE_TIME StopAt(std::int64_t position) const { return TimeAt(position, 1); }
    /// What system that frame is of.
    const AVDVProfile& SystemAt(std::int64_t position) const { return *RunAt(position).system; }
    /// Where the frame begins that lasts at `time`.
    std::int64_t PositionAt(REFERENCE_TIME time) const;
    /// How long the first `bytes` of the file last.
    REFERENCE_TIME Duration(std::int64_t bytes) const { return TimeAt(bytes, 0); }
    /// The lengths of frames, in bytes.
    int ShortestFrame() const;
    int LongestFrame() const;

  private:
    struct Run {
        std::int64_t position;
        const AVDVProfile* system;
        REFERENCE_TIME start;
    };

    void FindRuns(ByteSource* file, std::int64_t firstFrame);
    const Run& RunAt(std::int64_t position) const;
    REFERENCE_TIME TimeAt(std::int64_t position, int more) const;

    std::vector<Run> runs_;
};

/// The rate of the sound that a frame of DV holds by its number of samples in a channel, 0 for a
/// number that no system has.
int DvSoundRate(std::int64_t samples);

}  // namespace nyx::source
