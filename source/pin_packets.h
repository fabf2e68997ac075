#pragma once

#include <functional>
#include <limits>
#include <vector>

#include "source/footage_file.h"

namespace nyx::source {

class ReadAhead;

/// Where packets come from: a stream of a file.
struct PacketSource {
    ReadAhead* packets;  ///< of the file
    std::size_t stream;
    const StreamFormat* format;  ///< the file's
};

/// The sources of a pin: one, or two mono tracks that it delivers as left and right.
using PinSources = std::vector<PacketSource>;

/// Which pins there are for streams, in their order; with `pairsMono` one for two mono tracks that
/// follow each other and are stored alike.
std::vector<PinSources> GroupIntoPins(const std::vector<PacketSource>& streams, bool pairsMono);

/// The format that a pin of these sources delivers.
StreamFormat FormatOf(const PinSources& sources);

/// A pin's packets, from where its sources begin to read. One thread.
class PinPackets {
  public:
    /// `pop` takes the next packet of a source, by its place, as ReadAhead::Pop. `sources` outlives
    /// this. Throws std::bad_alloc.
    PinPackets(const PinSources& sources, std::function<HRESULT(std::size_t, Packet*)> pop)
        : sources_(sources), pop_(std::move(pop)), sides_(sources.size()) {}

    /// As ReadAhead::Pop. Of two tracks, it joins what both have, with silence where one begins
    /// later or ends earlier. Throws std::bad_alloc.
    [[nodiscard]] HRESULT Pop(Packet* packet);

  private:
    static constexpr std::int64_t kBefore = std::numeric_limits<std::int64_t>::min();

    /// A track's packet, in frames of audio from the file's start; from kNever on once it ended.
    struct Side {
        Packet packet{};
        std::int64_t start = kBefore;
        std::int64_t stop = kBefore;
    };

    [[nodiscard]] HRESULT Join(std::int64_t start, std::int64_t stop, Packet* packet) const;

    const PinSources& sources_;
    const std::function<HRESULT(std::size_t, Packet*)> pop_;
    std::vector<Side> sides_;
    std::int64_t next_ = kBefore;  ///< the frame of audio that follows the last packet
};

}  // namespace nyx::source
