#pragma once

#include <windows.h>

#include <vfw.h>

#include <string>

#include "avi_layout.h"
#include "clip_reader.h"
#include "com.h"

namespace nyx::host {

/// Keeps the platform's AVIFile library open.
class AviLibrary {
  public:
    AviLibrary() { AVIFileInit(); }
    ~AviLibrary() { AVIFileExit(); }
    AviLibrary(const AviLibrary&) = delete;
    AviLibrary& operator=(const AviLibrary&) = delete;
};

/// The first video stream of an AVI file, read through the platform's AVIFile library.
class AviReader final : public ClipReader {
  public:
    /// Opens the file. Failure kInput when it cannot be opened, kNotAvi when it is no AVI with a
    /// video stream or its stream makes no sense.
    explicit AviReader(const std::string& path);

    bool IsKeyFrame(LONG index) const override;
    HRESULT Read(LONG index, void* buffer, LONG capacity, LONG* size) const override;

  private:
    void ReadFormat();
    void MeasureFrames(const AviLayout& layout);

    AviLibrary library_;
    ComPtr<IAVIFile> file_;
    ComPtr<IAVIStream> stream_;
};

}  // namespace nyx::host
