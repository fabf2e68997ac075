#pragma once

#include <atomic>

#include "source/byte_source.h"

namespace nyx::source {

/// A file of the file system, which others may go on writing, rename or delete.
class DiskFile final : public ByteSource {
  public:
    DiskFile() = default;
    DiskFile(const DiskFile&) = delete;
    DiskFile& operator=(const DiskFile&) = delete;
    ~DiskFile() override;

    /// Opens a file once, by a path of any length. `E_OUTOFMEMORY` or the system's error; what is
    /// no file of a disk, such as a port, is not supported: reading from it might never end.
    [[nodiscard]] HRESULT Open(const wchar_t* path);

    int Read(std::int64_t position, BYTE* to, int count) override;
    std::int64_t Size() override;
    std::int64_t Milliseconds() override { return static_cast<std::int64_t>(GetTickCount64()); }
    HRESULT failure() const override { return failure_; }

  private:
    HANDLE file_ = INVALID_HANDLE_VALUE;
    std::atomic<HRESULT> failure_{S_OK};
};

}  // namespace nyx::source
