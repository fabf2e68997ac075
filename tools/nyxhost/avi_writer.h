#pragma once

#include <string>
#include <vector>

#include "avi_reader.h"

namespace nyx::host {

/// Writes one video stream of given frames into an AVI file through the platform's AVIFile library.
/// A file that is not finished with Finish() is deleted.
class AviWriter {
  public:
    /// Creates `path`, replacing an older file. `format` begins with a BITMAPINFOHEADER; frames per
    /// second are `rate` / `scale`. Failure kOutput when the file cannot be made.
    AviWriter(const std::string& path, const std::vector<BYTE>& format, DWORD rate, DWORD scale,
              DWORD largestFrame);
    ~AviWriter();
    AviWriter(const AviWriter&) = delete;
    AviWriter& operator=(const AviWriter&) = delete;

    /// Appends one key frame. Failure kTooLarge when the file would reach 2^31 bytes, kOutput when
    /// it cannot be written.
    void Write(const void* frame, LONG size);

    /// Closes the file: the index and the header are written. Failure kOutput when that left no
    /// complete file.
    void Finish();

  private:
    AviLibrary library_;
    std::string path_;
    ComPtr<IAVIFile> file_;
    ComPtr<IAVIStream> stream_;
    LONG frames_ = 0;
    long long bytes_ = 0;
    bool finished_ = false;
};

}  // namespace nyx::host
