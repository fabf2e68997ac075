#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "codecs/pixel_format_index.h"
#include "convert/convert.h"

namespace nyx {

/// The memory that one frame needs beside its buffers, freed with this object. It lives outside the
/// guard that the frame is worked on behind, so that a fault leaks none of it.
class ScratchMemory {
  public:
    ScratchMemory() = default;
    ScratchMemory(const ScratchMemory&) = delete;
    ScratchMemory& operator=(const ScratchMemory&) = delete;

    /// Bytes that stay until the end, zero to begin with: what an engine leaves out of a damaged
    /// frame is then always the same, and never what else was in memory. Null when there is not the
    /// memory, for more than 31 bits, and for the third and every later request.
    BYTE* Allocate(std::uint64_t size) {
        for (std::unique_ptr<BYTE[]>& block : blocks_) {
            if (!block && size <= std::numeric_limits<LONG>::max()) {
                block.reset(new (std::nothrow) BYTE[static_cast<std::size_t>(size)]());
                return block.get();
            }
        }
        return nullptr;
    }

  private:
    std::unique_ptr<BYTE[]> blocks_[2];  // a picture, and a frame with room behind it
};

/// A picture of rows without gaps in scratch memory. A view: copies are the same picture.
class ScratchImage {
  public:
    /// False afterwards when there is not the memory, or the picture would not fit 31 bits.
    ScratchImage(ScratchMemory* memory, LONG width, LONG height, LONG bytesPerPixel)
        : width_(width), height_(height), bytesPerPixel_(bytesPerPixel) {
        const std::int64_t row = std::int64_t{width} * bytesPerPixel;
        if (width > 0 && height > 0 && row <= std::numeric_limits<LONG>::max() / height) {
            bytes_ = memory->Allocate(static_cast<std::uint64_t>(row * height));
        }
    }

    explicit operator bool() const { return bytes_ != nullptr; }

    /// The picture as a surface of the given layout.
    SurfaceFormat Surface(int index) const {
        return {index, bytesPerPixel_, bytes_, width_ * bytesPerPixel_, width_, height_};
    }

    ImagePlane Plane() const { return {bytes_, width_ * bytesPerPixel_, 0}; }

  private:
    LONG width_;
    LONG height_;
    LONG bytesPerPixel_;
    BYTE* bytes_ = nullptr;
};

}  // namespace nyx
