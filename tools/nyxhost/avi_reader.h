#pragma once

#include <windows.h>

#include <vfw.h>

#include <string>
#include <vector>

#include "avi_layout.h"
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

/// The first video stream of an AVI file, read through the platform's AVIFile library. Frames are
/// counted from 0. Not for two threads at once.
class AviReader {
  public:
    /// Opens the file. Failure kInput when it cannot be opened, kNotAvi when it is no AVI with a
    /// video stream or its stream makes no sense.
    explicit AviReader(const std::string& path);

    /// The stream's BITMAPINFOHEADER, and the whole format block that begins with it.
    const BITMAPINFOHEADER& Header() const { return header_; }
    const std::vector<BYTE>& FormatBlock() const { return format_; }

    /// Frames per second are Rate() / Scale(); neither is 0.
    DWORD Rate() const { return info_.dwRate; }
    DWORD Scale() const { return info_.dwScale; }

    /// The start of frame `index` from the clip's start in 100 ns units, cut to a whole number.
    /// FrameTime(1) is a frame's duration: 333666 for 30000/1001.
    long long FrameTime(LONG index) const;

    LONG FrameCount() const { return static_cast<LONG>(frameSizes_.size()); }
    LONG FrameSize(LONG index) const { return frameSizes_[static_cast<std::size_t>(index)]; }
    LONG LargestFrame() const { return largestFrame_; }
    bool IsKeyFrame(LONG index) const;

    /// Reads one frame into `buffer`; `*size` is the number of bytes read.
    HRESULT Read(LONG index, void* buffer, LONG capacity, LONG* size) const;

  private:
    void ReadFormat();
    void MeasureFrames(const AviLayout& layout);

    AviLibrary library_;
    ComPtr<IAVIFile> file_;
    ComPtr<IAVIStream> stream_;
    AVISTREAMINFOW info_{};
    BITMAPINFOHEADER header_{};
    std::vector<BYTE> format_;
    std::vector<LONG> frameSizes_;
    LONG largestFrame_ = 0;
};

}  // namespace nyx::host
