#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "codecs/pixel_format_index.h"
#include "convert/convert.h"

namespace nyx {

/// The memory that a codec's frames need beside their buffers. It stays from one frame to the next:
/// pages that are new to a process cost more than the work that is done in them. It lives outside
/// the guard that a frame is worked on behind, so that a fault leaks none of it.
class ScratchMemory {
  public:
    ScratchMemory() = default;
    ScratchMemory(const ScratchMemory&) = delete;
    ScratchMemory& operator=(const ScratchMemory&) = delete;

    /// Takes back what the last frame was given.
    void BeginFrame() {
        for (Block& block : blocks_) {
            block.taken = false;
        }
    }

    /// Bytes for this frame, zero to begin with: what an engine leaves out of a damaged frame is
    /// then always the same, and never what else was in memory. Null when there is not the memory,
    /// for more than 31 bits, and for a frame's third and every later request.
    BYTE* Allocate(std::uint64_t size) {
        for (Block& block : blocks_) {
            if (!block.taken && size <= std::numeric_limits<LONG>::max()) {
                return block.Take(static_cast<std::size_t>(size));
            }
        }
        return nullptr;
    }

  private:
    struct Block {
        std::unique_ptr<BYTE[]> bytes;
        std::size_t size = 0;
        bool taken = false;

        BYTE* Take(std::size_t wanted) {
            if (size < wanted) {
                bytes.reset();
                bytes.reset(new (std::nothrow) BYTE[wanted]);
                size = bytes ? wanted : 0;
            }
            taken = bytes != nullptr;
            return taken ? static_cast<BYTE*>(std::memset(bytes.get(), 0, wanted)) : nullptr;
        }
    };

    Block blocks_[2];  // a picture, and a frame with room behind it
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
