#pragma once

#include <utility>

#include "clip_reader.h"
#include "input_file.h"
#include "picture_format.h"

namespace nyx::host {

/// A file of uncompressed pictures, one after another with nothing between. RGB rows go from bottom
/// to top, or from top to bottom where the height is negative.
class RawPictureReader final : public ClipReader {
  public:
    /// `rate` is frames per second, a fraction. Failure kInput when the file cannot be read or
    /// holds no whole number of such pictures.
    RawPictureReader(const std::string& path, const PictureFormat& format, LONG width, LONG height,
                     std::pair<LONG, LONG> rate);

    bool IsKeyFrame(LONG) const override { return true; }
    HRESULT Read(LONG index, void* buffer, LONG capacity, LONG* size) const override;

  private:
    InputFile file_;
};

}  // namespace nyx::host
