#pragma once

#include <limits>
#include <utility>
#include <vector>

#include "source/read_ahead.h"

namespace nyx::source {

/// Where packets come from: a stream of a file.
struct PacketSource {
    FootageFile* file;
    ReadAhead* packets;  ///< of `file`
    std::size_t stream;

    const StreamFormat& format() const { return file->streams()[stream]; }
};

/// The sources of a pin: one, or two mono tracks that it delivers as left and right.
using PinSources = std::vector<PacketSource>;

/// Which pins there are for streams, in their order; with `pairsMono` one for two mono tracks that
/// follow each other and are stored alike.
std::vector<PinSources> GroupIntoPins(const std::vector<PacketSource>& streams, bool pairsMono);

/// The format that a pin of these sources delivers.
StreamFormat FormatOf(const PinSources& sources);

/// A pin's packets. Its sources outlive it. One thread.
class PinPackets {
  public:
    explicit PinPackets(PinSources sources) : sources_(std::move(sources)) {}
    const PinSources& sources() const { return sources_; }

    /// Forgets what has been popped: the sources begin elsewhere.
    void Start();
    /// As ReadAhead::Pop. Of two tracks, it joins what both have, with silence where one begins
    /// later or ends earlier. Throws std::bad_alloc.
    [[nodiscard]] HRESULT Pop(Packet* packet);
    /// As ReadAhead::Close.
    void Close();

  private:
    static constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::min();

    /// A track's packet, in frames of audio from the file's start.
    struct Side {
        Packet packet{};
        std::int64_t start = 0;
        std::int64_t stop = kNone;
        bool ended = false;
    };

    [[nodiscard]] HRESULT Fill(const PacketSource& source, Side* side);
    [[nodiscard]] HRESULT Join(std::int64_t start, std::int64_t stop, Packet* packet) const;

    const PinSources sources_;
    std::vector<Side> sides_;
    std::int64_t next_ = kNone;  ///< the frame of audio that follows the last packet
};

}  // namespace nyx::source
