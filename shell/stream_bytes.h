#pragma once

#include <objidl.h>

#include "platform/com.h"
#include "source/byte_source.h"

namespace nyx::shell {

/// The bytes of a stream, on the thread that owns it.
class StreamBytes final : public source::ByteSource {
  public:
    explicit StreamBytes(ComPtr<IStream> stream);

    /// One read of the stream, which may return fewer bytes than there are.
    int ReadAt(std::int64_t position, std::span<BYTE> to) noexcept override;
    std::int64_t Size() noexcept override { return size_; }
    std::int64_t Milliseconds() noexcept override {
        return static_cast<std::int64_t>(GetTickCount64());
    }
    HRESULT failure() const noexcept override { return failure_; }

  private:
    const ComPtr<IStream> stream_;
    std::int64_t size_ = -1;
    HRESULT failure_ = S_OK;
};

}  // namespace nyx::shell
