#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "codecs/pixel_format_index.h"
#include "convert/convert.h"

namespace nyx {

/// A picture of rows without gaps that lives for one call, zero to begin with: what an engine
/// leaves out of a damaged frame is then always the same.
class ScratchImage {
  public:
    /// False afterwards when there is not the memory, or the picture would not fit 31 bits.
    ScratchImage(LONG width, LONG height, LONG bytesPerPixel)
        : width_(width), height_(height), bytesPerPixel_(bytesPerPixel) {
        const std::int64_t row = std::int64_t{width} * bytesPerPixel;
        if (width < 1 || height < 1 || row > std::numeric_limits<LONG>::max() / height) {
            return;
        }
        bytes_.reset(new (std::nothrow) BYTE[static_cast<std::size_t>(row * height)]());
    }

    explicit operator bool() const { return bytes_ != nullptr; }

    /// The picture as a surface of the given layout.
    SurfaceFormat Surface(int index) const {
        return {index, bytesPerPixel_, bytes_.get(), width_ * bytesPerPixel_, width_, height_};
    }

    ImagePlane Plane() const { return {bytes_.get(), width_ * bytesPerPixel_, 0}; }

  private:
    LONG width_;
    LONG height_;
    LONG bytesPerPixel_;
    std::unique_ptr<BYTE[]> bytes_;
};

}  // namespace nyx
