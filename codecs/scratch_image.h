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
    /// Zeroed bytes of piece `number`, 0 or 1. Null without memory.
    BYTE* Allocate(std::size_t number, std::size_t wanted) noexcept {
        Block& block = blocks_[number];
        if (block.size < wanted) {
            block = {};
            block.bytes.reset(new (std::nothrow) BYTE[wanted]);
            block.size = block.bytes ? wanted : 0;
        }
        return block.bytes ? static_cast<BYTE*>(std::memset(block.bytes.get(), 0, wanted))
                           : nullptr;
    }

    /// Frees the pieces that, with those before them, exceed `max` bytes.
    void Trim(std::size_t max) noexcept {
        for (Block& block : blocks_) {
            if (block.size > max) {
                block = {};
            }
            max -= block.size;
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

/// Scratch memory that a codec keeps from one call to the next, since first-touch page faults cost
/// more than most of the processing: at most a picture of 1920 x 1080 in the widest layout. The
/// contents are never reused. One call at a time uses it; a concurrent one gets memory of its own
/// (ScratchMemory).
class KeptMemory {
  public:
    KeptMemory() = default;
    KeptMemory(const KeptMemory&) = delete;
    KeptMemory& operator=(const KeptMemory&) = delete;

  private:
    friend class ScratchMemory;

    /// Four bytes a pixel, for RGB 32-bit, the widest layout of a scratch image.
    static constexpr std::size_t kMax = std::size_t{1920} * 1080 * 4;

    std::atomic<bool> inUse_{false};
    ScratchBlocks blocks_;
};

/// The memory that one call needs beside its buffers: the codec's KeptMemory, or memory of its own
/// while another call uses that. Lives outside the guard around a frame's processing, so that a
/// fault leaks none of it. For one thread.
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

    /// Zeroed bytes, so that parts that an engine does not write are deterministic and never stale
    /// memory. Null without memory, for more than 31 bits, and for a call's third and every later
    /// request.
    BYTE* Allocate(std::uint64_t size) noexcept {
        if (allocated_ == ScratchBlocks::kCount || size > std::numeric_limits<LONG>::max()) {
            return nullptr;
        }
        return (kept_ ? kept_->blocks_ : own_)
            .Allocate(allocated_++, static_cast<std::size_t>(size));
    }

  private:
    KeptMemory* const kept_;  ///< null while another call uses it
    ScratchBlocks own_;
    std::size_t allocated_ = 0;
};

/// A picture of rows without gaps in scratch memory. A view: copies are the same picture.
class ScratchImage {
  public:
    /// Tests false afterwards without memory, or when the picture would not fit 31 bits.
    ScratchImage(ScratchMemory* memory, LONG width, LONG height, LONG bytesPerPixel)
        : width_(width), height_(height), bytesPerPixel_(bytesPerPixel) {
        const std::int64_t row = std::int64_t{width} * bytesPerPixel;
        if (width > 0 && height > 0 && row <= std::numeric_limits<LONG>::max() / height) {
            bytes_ = memory->Allocate(static_cast<std::uint64_t>(row * height));
        }
    }

    explicit operator bool() const { return bytes_ != nullptr; }

    /// The picture as a surface of the given layout.
    [[nodiscard]] SurfaceFormat Surface(int index) const {
        return {.index = index,
                .bytesPerPixel = bytesPerPixel_,
                .data = bytes_,
                .stride = width_ * bytesPerPixel_,
                .width = width_,
                .height = height_};
    }

    [[nodiscard]] ImagePlane Plane() const { return {bytes_, width_ * bytesPerPixel_, 0}; }

  private:
    LONG width_;
    LONG height_;
    LONG bytesPerPixel_;
    BYTE* bytes_ = nullptr;
};

}  // namespace nyx
