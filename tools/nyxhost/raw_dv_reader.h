#pragma once

#include "clip_reader.h"
#include "input_file.h"

namespace nyx::host {

/// Whether the file begins as a raw DV stream does: with the header block of a first DIF sequence.
/// Failure kInput when it cannot be opened.
bool IsRawDv(const std::string& path);

/// A raw DV file (.dv, .dif): compressed frames one after another with nothing between. The first
/// frame tells the clip's kind. Where the stream is damaged, reading goes on at the next DIF block
/// that begins a frame; the frame before comes as short as it is.
class RawDvReader final : public ClipReader {
  public:
    /// Failure kInput when the file cannot be read, kNotAvi when its first frame is no DV that a
    /// decoder takes.
    explicit RawDvReader(const std::string& path);

    bool IsKeyFrame(LONG) const override { return true; }
    HRESULT Read(LONG index, void* buffer, LONG capacity, LONG* size) const override;

  private:
    void ReadFormat(const std::string& path);
    void CutIntoFrames();
    bool IsStart(const BYTE* block) const;
    bool StartsFrame(long long offset) const;
    long long NextStart(long long offset) const;

    InputFile file_;
    long long fileSize_;
    LONG frameBytes_ = 0;
    std::vector<long long> frameOffsets_;
};

}  // namespace nyx::host
