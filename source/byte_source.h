#pragma once

#include <cstdint>

#include "platform/win_types.h"

namespace nyx::source {

/// What a file's bytes are read from. Any thread.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    /// Reads up to `count` bytes at `position` from the start. The number read, 0 at or behind the
    /// end, or -1 when they cannot be read; `failure` then says why.
    virtual int Read(std::int64_t position, BYTE* to, int count) = 0;
    /// The size now, in bytes, or -1.
    virtual std::int64_t Size() = 0;
    /// A clock that never goes back, in milliseconds.
    virtual std::int64_t Milliseconds() = 0;
    /// Why a read failed last; `S_OK` when none did.
    virtual HRESULT failure() const = 0;
};

}  // namespace nyx::source
