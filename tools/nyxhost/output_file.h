#pragma once

#include <windows.h>

#include <string>

namespace nyx::host {

/// A file that is written from start to end; one that is not finished with Finish() is deleted.
/// Failures are kOutput and name the file and the reason.
class OutputFile {
  public:
    /// Creates `path` (UTF-8), replacing an older file.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Appends to the file.
    void Write(const void* data, DWORD size);

    /// Replaces bytes at a place in what was written; the next Write appends all the same.
    void Replace(DWORD place, const void* data, DWORD size);

    /// Closes the file, which is complete.
    void Finish();

    const std::string& Path() const { return path_; }

  private:
    void Seek(DWORD distance, DWORD from);

    const std::string path_;
    HANDLE file_;
};

/// Failure kOutput when both names are one file's: a clip is not replaced while it is read.
void KeepInput(const std::string& input, const std::string& output);

/// Makes the folder `path` (UTF-8) and those above it where they are missing. Failure kOutput.
void MakeFolder(const std::string& path);

}  // namespace nyx::host
