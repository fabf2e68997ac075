#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace nyx::host {

/// The video frames of a clip, whatever kind of file holds them. Frames are counted from 0. Not for
/// two threads at once.
class ClipReader {
  public:
    virtual ~ClipReader() = default;
    ClipReader(const ClipReader&) = delete;
    ClipReader& operator=(const ClipReader&) = delete;

    /// The stream's BITMAPINFOHEADER, and the whole format block that begins with it.
    const BITMAPINFOHEADER& Header() const { return header_; }
    const std::vector<BYTE>& FormatBlock() const { return format_; }

    /// The code that the file itself gives the stream, where the clip is played under another one;
    /// 0 where it is not or the file gives none.
    DWORD FileFourCC() const { return fileFourCC_; }

    /// Frames per second are Rate() / Scale(); neither is 0.
    DWORD Rate() const { return rate_; }
    DWORD Scale() const { return scale_; }

    /// The start of frame `index` from the clip's start in 100 ns units, cut to a whole number.
    /// FrameTime(1) is a frame's duration: 333666 for 30000/1001.
    long long FrameTime(LONG index) const;

    LONG FrameCount() const { return static_cast<LONG>(frameSizes_.size()); }
    LONG FrameSize(LONG index) const { return frameSizes_[static_cast<std::size_t>(index)]; }
    LONG LargestFrame() const { return largestFrame_; }
    virtual bool IsKeyFrame(LONG index) const = 0;

    /// Reads one frame into `buffer`; `*size` is the number of bytes read.
    virtual HRESULT Read(LONG index, void* buffer, LONG capacity, LONG* size) const = 0;

    /// The whole frame `index`. Failure kInput when it cannot be read.
    std::vector<BYTE> ReadFrame(LONG index) const;

    /// Plays the stream under another code and picture size.
    void PlayAs(DWORD fourcc, LONG width, LONG height);

  protected:
    ClipReader() = default;

    /// What a reader fills in. Failure kNotAvi when rate or length make no sense.
    void SetFormat(std::vector<BYTE> format);
    void SetRate(DWORD rate, DWORD scale);
    void SetFrameSizes(std::vector<LONG> sizes);

  private:
    std::vector<BYTE> format_;
    BITMAPINFOHEADER header_{};
    DWORD fileFourCC_ = 0;
    DWORD rate_ = 0;
    DWORD scale_ = 0;
    std::vector<LONG> frameSizes_;
    LONG largestFrame_ = 0;
};

/// Opens an AVI file or a raw DV file, told apart by their first bytes. DV of the codes that other
/// programs write plays under the codes of our decoders. Failure kInput when the file cannot be
/// opened, kNotAvi when it holds no clip.
std::unique_ptr<ClipReader> OpenClip(const std::string& path);

}  // namespace nyx::host
