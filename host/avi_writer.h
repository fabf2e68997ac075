#pragma once

#include "host/com.h"

// vfw.h wants windows.h first.
#include <vfw.h>

#include <string>

namespace nyx::host {

/// Writes one video stream of given frames into an AVI file through the platform's AVIFile library.
/// A file that is not finished with Finish() is deleted.
class AviWriter {
  public:
    AviWriter() { AVIFileInit(); }
    ~AviWriter();
    AviWriter(const AviWriter&) = delete;
    AviWriter& operator=(const AviWriter&) = delete;

    /// Creates `path`, replacing an older file. Frames per second are `rate` / `scale`; no frame is
    /// longer than the header's biSizeImage.
    [[nodiscard]] HRESULT Create(const std::wstring& path, const BITMAPINFOHEADER& header,
                                 DWORD rate, DWORD scale);

    /// Appends one key frame. HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE) when the file would reach
    /// 2^31 bytes: beyond, the 32-bit offsets of AVIFile silently lie.
    [[nodiscard]] HRESULT Write(const void* frame, LONG size);

    /// Closes the file: the index and the header are written. A failure when that left no complete
    /// file.
    [[nodiscard]] HRESULT Finish();

  private:
    void Close();

    std::wstring path_;
    ComPtr<IAVIFile> file_;
    ComPtr<IAVIStream> stream_;
    LONG frames_ = 0;
    long long payload_ = 0;  ///< bytes of all frames
};

}  // namespace nyx::host
