#pragma once

#include <windows.h>

#include <string>

#include "platform/unique_handle.h"

namespace nyx::host {

/// Stands for the standard output in place of a file's name.
constexpr char kStandardOutput[] = "-";

/// A file that is written from start to end, and deleted unless Finish() completes it; or the
/// standard output. Failures are kOutput and name the file and the reason.
class OutputFile {
  public:
    /// Creates `path` (UTF-8), replacing an older file. For kStandardOutput it writes there.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Appends to the file, or writes at a place.
    void Write(const void* data, DWORD size, OVERLAPPED* place = nullptr);

    /// True for the standard output, which has no places to go back to.
    bool IsStream() const { return path_ == kStandardOutput; }

    /// Overwrites bytes of a file at offset `place`, once nothing more is appended.
    void Replace(DWORD place, const void* data, DWORD size);

    /// Closes the file, which is complete.
    void Finish();

    const std::string& Path() const { return path_; }

  private:
    void CheckWritten(HRESULT result) const;

    const std::string path_;
    UniqueHandle file_;    ///< empty for the standard output
    const HANDLE handle_;  ///< of either
};

/// Failure kOutput when both paths name one file, so that no clip overwrites itself.
void RefuseSameFile(const std::string& input, const std::string& output);

/// Creates the folder `path` (UTF-8) and missing parent folders. Failure kOutput.
void MakeFolder(const std::string& path);

}  // namespace nyx::host
