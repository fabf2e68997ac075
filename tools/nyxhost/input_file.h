#pragma once

#include <windows.h>

#include <string>

namespace nyx::host {

/// A file open for reading at any place.
class InputFile {
  public:
    /// Failure kInput when it cannot be opened.
    explicit InputFile(const std::string& path);
    ~InputFile() { CloseHandle(file_); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// Failure kInput when it cannot be told.
    long long Size() const;

    /// Reads up to `count` bytes at `offset` and gives the number read, fewer only at the file's
    /// end. Failure kInput when reading fails.
    DWORD ReadUpTo(long long offset, void* out, DWORD count) const;

    /// Reads exactly `count` bytes at `offset`; false when the file ends before.
    bool ReadAt(long long offset, void* out, DWORD count) const {
        return ReadUpTo(offset, out, count) == count;
    }

  private:
    [[noreturn]] void Fail() const;

    std::string path_;
    HANDLE file_;
};

}  // namespace nyx::host
