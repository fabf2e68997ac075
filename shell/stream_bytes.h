#pragma once

#include <objidl.h>

#include <utility>

#include "platform/com.h"
#include "shell/thumbnail_picture.h"

namespace nyx::shell {

/// The bytes of a stream for kMilliseconds, on the thread that owns the stream.
class StreamBytes final : public source::ByteSource {
  public:
    /// The time begins now.
    explicit StreamBytes(ComPtr<IStream> stream) : stream_(std::move(stream)) {
        STATSTG status{};
        if (SUCCEEDED(stream_->Stat(&status, STATFLAG_NONAME))) {
            size_ = static_cast<std::int64_t>(status.cbSize.QuadPart);
        }
    }
    /// Whether the time is over. Reads then fail.
    bool isOver() const noexcept { return GetTickCount64() >= end_; }

    int ReadAt(std::int64_t position, std::span<BYTE> to) noexcept override {
        std::size_t count = 0;
        for (ULONG got = 1; got > 0 && count < to.size(); count += got) {
            LARGE_INTEGER place{};
            place.QuadPart = position + static_cast<std::int64_t>(count);
            const auto left = static_cast<ULONG>(to.size() - count);
            got = 0;
            if (isOver() || FAILED(stream_->Seek(place, STREAM_SEEK_SET, nullptr)) ||
                FAILED(stream_->Read(to.data() + count, left, &got)) || got > left) {
                return Fail(STG_E_READFAULT);
            }
        }
        return static_cast<int>(count);
    }
    std::int64_t Size() noexcept override { return size_; }
    /// Far ahead once the time is over, which spends what the reader may spend between two reads.
    std::int64_t Milliseconds() noexcept override {
        return static_cast<std::int64_t>(GetTickCount64()) + (isOver() ? std::int64_t{1} << 40 : 0);
    }

  private:
    const ComPtr<IStream> stream_;
    const ULONGLONG end_ = GetTickCount64() + kMilliseconds;
    std::int64_t size_ = -1;
};

}  // namespace nyx::shell
