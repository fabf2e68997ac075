#pragma once

namespace nyx::source {

/// Keeps the memory of large packets for the next ones as long as one of these objects is alive.
/// Memory fresh from the system costs a page fault every 4 KiB, which for an uncompressed HD frame
/// takes several times as long as reading it from a cached file. Any thread.
class PacketMemory {
  public:
    PacketMemory();
    ~PacketMemory();
    PacketMemory(const PacketMemory&) = delete;
    PacketMemory& operator=(const PacketMemory&) = delete;
};

}  // namespace nyx::source
