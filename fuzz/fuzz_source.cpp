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

/// A file in memory, of which one byte cannot be read.
class MemoryFile final : public nyx::source::ByteSource {
  public:
    MemoryFile(const std::uint8_t* data, std::size_t size, std::int64_t bad)
        : data_(data, size), bad_(bad) {}

    int Read(std::int64_t position, BYTE* to, int count) override {
        if (position <= bad_ && bad_ - position < count) {
            return -1;
        }
        const nyx::ByteSpan bytes =
            data_.Slice(static_cast<std::size_t>(position), static_cast<std::size_t>(count));
        std::copy_n(bytes.data(), bytes.size(), to);
        return static_cast<int>(bytes.size());
    }
    std::int64_t Size() override { return static_cast<std::int64_t>(data_.size()); }
    HRESULT failure() const override { return E_FAIL; }

  private:
    nyx::ByteSpan data_;
    std::int64_t bad_;
};

}  // namespace

// By this the library allocates. Not by realloc: where its parser gets no memory, the system's
// library ends the process; scripts/engines mends that in ours.
extern "C" int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    return Fails() ? ENOMEM : __interceptor_posix_memalign(memory, alignment, size);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The last bytes steer: a file is read from its start.
    struct {
        std::uint16_t failure, bad;  // an allocation; a place in KiB
        std::uint32_t places[3];
    } steering;
    if (size < sizeof(steering)) {
        return 0;
    }
    size -= sizeof(steering);
    std::memcpy(&steering, data + size, sizeof(steering));
    untilFailure = steering.failure;
    nyx::source::FootageFile file;
    const HRESULT opened =
        file.Open(std::make_unique<MemoryFile>(data, size, steering.bad * 1024 - 1));
    nyx::fuzz::Require(FAILED(opened) || !file.streams().empty());
    for (int i = 0; SUCCEEDED(opened) && i < 3; ++i) {
        const REFERENCE_TIME from = i > 0 ? steering.places[i - 1] : 0;
        nyx::source::Packet packet;
        HRESULT result = i > 0 ? file.Seek(from) : S_OK;
        for (int frames = 0; frames < 1500 && result == S_OK; ++frames) {
            result = file.Read(&packet);
            if (result == S_OK) {
                const nyx::source::StreamFormat& stream = file.streams().at(packet.stream);
                nyx::fuzz::Require(packet.start <= packet.stop && packet.stop > from);
                std::vector<BYTE> copy(packet.bytes().size());
                nyx::fuzz::Require(!stream.video || copy.size() >= stream.video->wholeFrame);
                const HRESULT copied = file.Copy(packet, copy.data());
                nyx::fuzz::Require(copied == S_OK || (copied == E_FAIL && steering.bad > 0));
            }
        }
    }
    untilFailure = 0;
    return 0;
}
