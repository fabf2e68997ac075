#pragma once

#include <utility>
#include <vector>

#include "media/libav.h"
#include "platform/byte_span.h"
#include "source/byte_source.h"

namespace nyx::source {

/// Places and times of the frames in a file of raw DV. The system may change between 625 and 525
/// lines, and with it the length of a frame in bytes and in time. One thread at a time.
class RawDv {
  public:
    /// Looks for the places where the system changes, from the first frame on, in few reads.
    void Find(ByteSource* file, std::int64_t firstFrame);

    /// Whether the system changes. The functions below, except FirstRefused, require it.
    bool changes() const { return !runs_.empty(); }
    /// When the first run of frames begins that lasts at `from` or later and whose system is not
    /// accepted; `never` without one.
    template <class Accepts>
    REFERENCE_TIME FirstRefused(REFERENCE_TIME from, REFERENCE_TIME never, Accepts accepts) const {
        for (std::size_t i = 0; i < runs_.size(); ++i) {
            const bool past = i + 1 < runs_.size() && runs_[i + 1].start <= from;
            if (!past && !accepts(*runs_[i].system)) {
                return runs_[i].start;
            }
        }
        return never;
    }
    /// When the frame at a place of the file begins and ends.
    REFERENCE_TIME StartAt(std::int64_t position) const { return TimeAt(position, 0); }
    REFERENCE_TIME StopAt(std::int64_t position) const { return TimeAt(position, 1); }
    /// The system of that frame.
    const AVDVProfile& SystemAt(std::int64_t position) const { return *RunAt(position).system; }
    /// Where the frame begins that lasts at `time`.
    std::int64_t PositionAt(REFERENCE_TIME time) const;
    /// The minimum and the maximum length of a frame, in bytes.
    std::pair<int, int> FrameLengths() const;

  private:
    struct Run {
        std::int64_t position;  ///< of its first frame, in bytes
        const AVDVProfile* system;
        REFERENCE_TIME start;
    };

    void FindRuns(ByteSource* file, std::int64_t firstFrame);
    const Run& RunAt(std::int64_t position) const;
    REFERENCE_TIME TimeAt(std::int64_t position, int framesLater) const;

    std::vector<Run> runs_;
};

/// The rate of the audio in a frame of DV, by the number of samples of a channel; 0 for a number
/// that no system has.
int DvAudioRate(std::int64_t samples);

}  // namespace nyx::source
