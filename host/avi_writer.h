#pragma once

#include "host/com.h"

// vfw.h wants windows.h first.
#include <vfw.h>

#include <string>

namespace nyx::host {

/// Writes encoded frames as the one video stream of an AVI file, through the platform's AVIFile
/// library. The file is deleted unless Finish() completes it.
class AviWriter {
  public:
    AviWriter() { AVIFileInit(); }
    ~AviWriter();
    AviWriter(const AviWriter&) = delete;
    AviWriter& operator=(const AviWriter&) = delete;

    /// Creates `path`, replacing an older file. Frames per second are `rate` / `scale`; the
    /// header's biSizeImage is the maximum frame size.
    [[nodiscard]] HRESULT Create(const std::wstring& path, const BITMAPINFOHEADER& header,
                                 DWORD rate, DWORD scale);

    /// Appends one key frame. HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE) when the file would reach
    /// 2^31 bytes, where AVIFile's 32-bit offsets overflow.
    [[nodiscard]] HRESULT Write(const void* frame, LONG size);

    /// Writes the index and the header and closes the file. A failure when the file is incomplete.
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
