#pragma once

#include <algorithm>
#include <atomic>
#include <climits>
#include <string>

#include "platform/byte_span.h"
#include "source/byte_source.h"

namespace nyx::test {

/// A file in memory on a disk with a fault: reads fail that touch one byte, or all of them after so
/// many.
struct MemorySource final : source::ByteSource {
    static constexpr auto kFailure = static_cast<HRESULT>(0x80070015u);  ///< the disk is not ready

    explicit MemorySource(ByteSpan bytes, std::int64_t place = -1) : data(bytes), bad(place) {}
    int ReadAt(std::int64_t position, std::span<BYTE> to) noexcept override {
        if (readsLeft-- <= 0 ||
            (position <= bad && bad - position < static_cast<std::int64_t>(to.size()))) {
            return Fail(kFailure);
        }
        const ByteSpan part = Slice(data, static_cast<std::size_t>(position), to.size());
        std::copy_n(part.data(), part.size(), to.data());
        return static_cast<int>(part.size());
    }
    std::int64_t Size() noexcept override { return static_cast<std::int64_t>(data.size()); }
    std::int64_t Milliseconds() noexcept override { return 0; }

    const ByteSpan data;  ///< not owned
    const std::int64_t bad;
    std::atomic<int> readsLeft{INT_MAX};
};

}  // namespace nyx::test
