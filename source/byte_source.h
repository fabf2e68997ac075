#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "platform/win_types.h"

namespace nyx::source {

/// What a file's bytes are read from. Any thread.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    /// Reads up to a buffer full at `position`, in bytes from the start. Returns the number read, 0
    /// at or behind the end, or -1 when they cannot be read; `failure` then says why.
    virtual int ReadAt(std::int64_t position, std::span<BYTE> to) noexcept = 0;
    /// The size now, in bytes, or -1.
    virtual std::int64_t Size() noexcept = 0;
    /// A clock that never goes back, in milliseconds.
    virtual std::int64_t Milliseconds() noexcept = 0;
    /// Why a read failed last; `S_OK` when none did.
    HRESULT failure() const noexcept { return failure_; }

  protected:
    /// A failed read's answer.
    int Fail(HRESULT why) noexcept {
        failure_ = why;
        return -1;
    }

  private:
    std::atomic<HRESULT> failure_{S_OK};
};

}  // namespace nyx::source
