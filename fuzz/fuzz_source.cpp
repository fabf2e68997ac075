// Any file through the source filter's reader: opened, read for a while, sought, read on, with one
// of the library's allocations failing where the input says.

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "fuzz/byte_source.h"
#include "source/footage_file.h"

extern "C" {
int __interceptor_posix_memalign(void** memory, std::size_t alignment, std::size_t size);
}

namespace {

int untilFailure = 0;  // allocations; 0: none fails

bool Fails() {
    return untilFailure > 0 && --untilFailure == 0;
}

/// A file in memory.
class MemoryFile final : public nyx::source::ByteSource {
  public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : data_(data, size) {}

    int Read(std::int64_t position, BYTE* to, int count) override {
        const nyx::ByteSpan bytes =
            data_.Slice(static_cast<std::size_t>(position), static_cast<std::size_t>(count));
        std::copy_n(bytes.data(), bytes.size(), to);
        return static_cast<int>(bytes.size());
    }
    std::int64_t Size() override { return static_cast<std::int64_t>(data_.size()); }
    HRESULT failure() const override { return S_OK; }

  private:
    nyx::ByteSpan data_;
};

void Play(const std::uint8_t* data, std::size_t size, const REFERENCE_TIME* seeks, int count) {
    nyx::source::FootageFile file;
    if (FAILED(file.Open(std::make_unique<MemoryFile>(data, size)))) {
        return;
    }
    nyx::fuzz::Require(!file.streams().empty());
    for (int i = 0; i <= count; ++i) {
        const REFERENCE_TIME from = i > 0 ? seeks[i - 1] : 0;
        nyx::source::Packet packet;
        HRESULT result = i > 0 ? file.Seek(from) : S_OK;
        for (int frames = 0; frames < 1500 && result == S_OK; ++frames) {
            result = file.Read(&packet);
            if (result != S_OK) {
                break;
            }
            const nyx::source::StreamFormat& stream = file.streams().at(packet.stream);
            nyx::fuzz::Require(packet.start <= packet.stop && packet.stop > from);
            nyx::fuzz::Require(!stream.video || packet.bytes().size() >= stream.video->wholeFrame);
        }
    }
}

}  // namespace

// By this the library allocates. Not by realloc: where its parser gets no memory, the system's
// library ends the process; scripts/engines mends that in ours.
extern "C" int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    return Fails() ? ENOMEM : __interceptor_posix_memalign(memory, alignment, size);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The last bytes steer: a file is read from its start.
    constexpr std::size_t kSteering = 16;
    if (size < kSteering) {
        return 0;
    }
    size -= kSteering;
    std::uint16_t failure = 0;
    std::uint32_t places[2];
    std::memcpy(&failure, data + size, sizeof(failure));
    std::memcpy(places, data + size + 4, sizeof(places));
    const REFERENCE_TIME seeks[] = {places[0], places[1]};
    untilFailure = failure;
    Play(data, size, seeks, 2);
    untilFailure = 0;
    return 0;
}
