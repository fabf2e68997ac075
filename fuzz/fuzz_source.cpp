// Opens any file with the source filter's reader, reads a while, seeks and reads on, and joins the
// mono tracks in pairs. One of the library's allocations fails where the input says.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>

#include "fuzz/byte_source.h"
#include "source/pin_packets.h"
#include "tests/support/memory_source.h"

extern "C" int __interceptor_posix_memalign(void**, std::size_t alignment, std::size_t size);
extern "C" void* __interceptor_realloc(void*, std::size_t size);

namespace {

int untilFailure = 0;  // allocations; 0: none fails

/// Delivers packets as the filter's pins do.
void JoinPairs(const std::vector<nyx::source::StreamFormat>& streams,
               std::vector<std::deque<nyx::source::Packet>> packets) {
    std::vector<nyx::source::PacketSource> all;
    for (const nyx::source::StreamFormat& stream : streams) {
        all.push_back({nullptr, all.size(), &stream});
    }
    for (const nyx::source::PinSources& sources : nyx::source::GroupIntoPins(all, true)) {
        nyx::source::PinPackets pin(sources, [&](std::size_t i, nyx::source::Packet* packet) {
            auto& queue = packets[sources[i].stream];
            if (queue.empty()) {
                return S_FALSE;
            }
            *packet = std::move(queue.front());
            queue.pop_front();
            return S_OK;
        });
        nyx::source::Packet packet;
        for (REFERENCE_TIME end = INT64_MIN; pin.Pop(&packet) == S_OK; end = packet.stop) {
            nyx::fuzz::Require(sources.size() == 1 || packet.start >= end);
        }
    }
}

}  // namespace

// libavutil allocates with these two.
extern "C" int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    return untilFailure > 0 && --untilFailure == 0
               ? ENOMEM
               : __interceptor_posix_memalign(memory, alignment, size);
}

extern "C" void* realloc(void* memory, std::size_t size) {
    return untilFailure > 0 && --untilFailure == 0 ? nullptr : __interceptor_realloc(memory, size);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The last bytes steer: a file is read from its start.
    struct {
        std::uint16_t failure, bad;  // an allocation; a place in KiB
        std::uint32_t places[3];
    } steering{};
    const std::size_t steered = std::min(size, sizeof(steering));
    std::memcpy(&steering, data + (size -= steered), steered);
    untilFailure = steering.failure;
    nyx::source::FootageFile file;
    const HRESULT opened = file.Open(std::make_unique<nyx::test::MemorySource>(
        nyx::BytesAt(data, size), steering.bad * 1024 - 1));
    nyx::fuzz::Require(FAILED(opened) || !file.streams().empty());
    std::vector<std::deque<nyx::source::Packet>> read(file.streams().size());
    for (int i = 0; SUCCEEDED(opened) && i < 3; ++i) {
        const REFERENCE_TIME from = i > 0 ? steering.places[i - 1] : 0;
        nyx::source::Packet packet;
        HRESULT result = i > 0 ? file.Seek(from) : S_OK;
        for (int n = 0; n < 1500 && result == S_OK && (result = file.ReadPacket(&packet)) == S_OK;
             ++n) {
            const nyx::source::StreamFormat& stream = file.streams().at(packet.stream);
            nyx::fuzz::Require(packet.start <= packet.stop && packet.stop > from);
            std::vector<BYTE> copy(packet.size());
            nyx::fuzz::Require(!stream.video || copy.size() >= stream.video->wholeFrame);
            const HRESULT copied = file.Copy(packet, copy.data());
            nyx::fuzz::Require(copied == S_OK ||
                               (copied == nyx::test::MemorySource::kFailure && steering.bad > 0));
            read[packet.stream].push_back(std::move(packet));
        }
        JoinPairs(file.streams(), std::exchange(read, decltype(read)(read.size())));
    }
    untilFailure = 0;
    return 0;
}
