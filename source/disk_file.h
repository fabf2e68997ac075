#pragma once

#include "platform/unique_handle.h"
#include "source/byte_source.h"

namespace nyx::source {

/// A file of the file system, which others may go on writing, rename or delete.
class DiskFile final : public ByteSource {
  public:
    /// Opens a file once, by a path of any length. Returns the system's error. Ports and other
    /// devices are not supported: reading them might never end. Throws std::bad_alloc.
    [[nodiscard]] HRESULT Open(const wchar_t* path);

    int ReadAt(std::int64_t position, std::span<BYTE> to) noexcept override;
    std::int64_t Size() noexcept override;
    std::int64_t Milliseconds() noexcept override {
        return static_cast<std::int64_t>(GetTickCount64());
    }

  private:
    UniqueHandle file_;
};

}  // namespace nyx::source
