#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "codecs/pixel_format_index.h"
#include "convert/convert.h"

namespace nyx {

/// Up to two pieces of memory: a picture, and a frame with room behind it.
class ScratchBlocks {
  public:
    /// Bytes of piece `number`, 0 or 1, all zero. Null when there is not the memory.
    BYTE* Take(std::size_t number, std::size_t wanted) {
        Block& block = blocks_[number];
        if (block.size < wanted) {
            block = {};
            block.bytes.reset(new (std::nothrow) BYTE[wanted]);
            block.size = block.bytes ? wanted : 0;
        }
        return block.bytes ? static_cast<BYTE*>(std::memset(block.bytes.get(), 0, wanted))
                           : nullptr;
    }

    /// Frees the pieces that, with those before them, are more than `most` bytes.
    void Trim(std::size_t most) {
        for (Block& block : blocks_) {
            if (block.size > most) {
                block = {};
            }
            most -= block.size;
        }
    }

    static constexpr std::size_t kCount = 2;

  private:
    struct Block {
        std::unique_ptr<BYTE[]> bytes;
        std::size_t size = 0;
    };
    Block blocks_[kCount];
};

/// What a codec keeps of its frames' scratch memory from one call to the next, since pages that are
/// new to a process cost more than the work that is done in them: at most a picture of 1920 x 1080
/// in the widest layout. The contents are never used again. One call at a time has it; a second one
/// meanwhile, on another thread, gets memory of its own (ScratchMemory).
class KeptMemory {
  public:
    KeptMemory() = default;
    KeptMemory(const KeptMemory&) = delete;
    KeptMemory& operator=(const KeptMemory&) = delete;

  private:
    friend class ScratchMemory;

    /// Four bytes a pixel, as RGB 32-bit and no layout of a scratch image more.
    static constexpr std::size_t kMax = std::size_t{1920} * 1080 * 4;

    std::atomic<bool> inUse_{false};
    ScratchBlocks blocks_;
};

/// The memory that one call needs beside its buffers: what the codec keeps, or where another call
/// has that, its own, which it frees. Lives outside the guard that a frame is worked on behind, so
/// that a fault leaks none of it, and on one thread.
class ScratchMemory {
  public:
    explicit ScratchMemory(KeptMemory* kept)
        : kept_(kept->inUse_.exchange(true) ? nullptr : kept) {}
    ScratchMemory(const ScratchMemory&) = delete;
    ScratchMemory& operator=(const ScratchMemory&) = delete;
    ~ScratchMemory() {
        if (kept_) {
            kept_->blocks_.Trim(KeptMemory::kMax);
            kept_->inUse_ = false;
        }
    }

    /// Zeroed bytes: what an engine leaves out of a damaged frame is then always the same, and
    /// never what else was in memory. Null when there is not the memory, for more than 31 bits, and
    /// for a call's third and every later request.
    BYTE* Allocate(std::uint64_t size) {
        if (taken_ == ScratchBlocks::kCount || size > std::numeric_limits<LONG>::max()) {
            return nullptr;
        }
        return (kept_ ? kept_->blocks_ : own_).Take(taken_++, static_cast<std::size_t>(size));
    }

  private:
    KeptMemory* const kept_;  ///< null: another call has it
    ScratchBlocks own_;
    std::size_t taken_ = 0;
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
