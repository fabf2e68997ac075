#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/filter_rig.h"

namespace nyx::soak {

/// One filter's part of the load: what it is fed.
struct StreamPlan {
    test::FilterUnderTest row;
    std::vector<std::vector<BYTE>> frames;  ///< well-formed samples, each of another picture
};

/// The plans of the eight decoders and the encoder. The stand-in engines must be on the search
/// path.
std::vector<StreamPlan> AllPlans();

/// What became of the frames of one stream.
struct StreamCount {
    std::uint64_t sent = 0;
    std::uint64_t arrived = 0;
    std::uint64_t lost = 0;   ///< sent and never arrived, or out of order
    std::uint64_t wrong = 0;  ///< arrived with other contents than the first time
    std::uint64_t graphs = 0;
};

/// Feeds one filter on a thread of its own, graph after graph: each is built anew, takes the
/// filter's next output format, runs for some frames and is torn down. A frame's place in the
/// stream travels as its start time; its output is held against the checksum of the first output of
/// the same frame in the same format.
class Stream {
  public:
    Stream(const StreamPlan& plan, const std::atomic<bool>& go);
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    const std::string name() const { return plan_.row.name; }
    /// Waits for the thread's end.
    StreamCount Join();

  private:
    void RunGraphs(const std::atomic<bool>& go);
    void RunOneGraph(std::size_t graph, const std::atomic<bool>& go);
    void Check(std::size_t format, std::uint64_t number, IMediaSample* sample);

    StreamPlan plan_;
    StreamCount count_;
    std::vector<std::vector<std::uint32_t>> checksums_;  ///< by format and frame, 0: none yet
    std::thread thread_;
};

}  // namespace nyx::soak
