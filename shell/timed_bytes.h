#pragma once

#include <algorithm>
#include <memory>
#include <utility>

#include "source/byte_source.h"

namespace nyx::shell {

/// A file's bytes for a limited time: the shell waits for a picture, and a damaged file or a slow
/// disk must not keep it. One thread at a time.
class TimedBytes final : public source::ByteSource {
  public:
    static constexpr std::int64_t kMilliseconds = 2000;
    static constexpr auto kTooLate = static_cast<HRESULT>(0x800705B4u);  ///< ERROR_TIMEOUT

    /// The time begins now.
    explicit TimedBytes(std::unique_ptr<ByteSource> bytes)
        : bytes_(std::move(bytes)), end_(bytes_->Milliseconds() + kMilliseconds) {}

    /// Whether the time is over. Reads then fail.
    bool isOver() const noexcept { return bytes_->Milliseconds() >= end_; }

    /// Goes on where the source returns fewer bytes than it has, as streams may.
    int ReadAt(std::int64_t position, std::span<BYTE> to) noexcept override {
        std::size_t count = 0;
        for (int got = 1; got > 0 && count < to.size(); count += static_cast<std::size_t>(got)) {
            if (isOver()) {
                return -1;
            }
            got = bytes_->ReadAt(position + static_cast<std::int64_t>(count), to.subspan(count));
            if (got < 0) {
                return -1;
            }
        }
        return static_cast<int>(count);
    }
    std::int64_t Size() noexcept override { return bytes_->Size(); }
    /// Far ahead once the time is over, which spends what the reader may spend between two reads.
    std::int64_t Milliseconds() noexcept override {
        constexpr std::int64_t kFar = std::int64_t{1} << 40;
        return bytes_->Milliseconds() + (isOver() ? kFar : 0);
    }
    HRESULT failure() const noexcept override { return isOver() ? kTooLate : bytes_->failure(); }

  private:
    const std::unique_ptr<ByteSource> bytes_;
    const std::int64_t end_;
};

}  // namespace nyx::shell
