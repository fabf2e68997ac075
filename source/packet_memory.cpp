#include "source/packet_memory.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <utility>

#include "source/libavformat.h"
#include "source/system_thread.h"

namespace nyx::source {
namespace {

/// What the system's heap gives page by page.
constexpr std::size_t kLarge = 256 << 10;
/// Sizes are rounded up to this, so that frames of about one length share their blocks.
constexpr std::size_t kStep = 256 << 10;
/// Of all blocks that wait; as much as is read ahead of them.
constexpr std::size_t kMostKept = 32 << 20;

/// Stands before the packet's bytes; of the size that these are to be aligned to.
struct alignas(64) Block {
    std::size_t capacity;
    Block* next;
};

/// The blocks that wait, the one used last first.
class Store {
  public:
    void Open() {
        const std::lock_guard lock(mutex_);
        ++users_;
    }
    void Close() {
        const std::lock_guard lock(mutex_);
        if (--users_ == 0) {
            Free(std::exchange(first_, nullptr));
            kept_ = 0;
        }
    }
    /// A block for `size` bytes, at most twice as large; null without memory.
    Block* Take(std::size_t size) {
        const std::lock_guard lock(mutex_);
        for (Block** link = &first_; *link; link = &(*link)->next) {
            Block* block = *link;
            if (block->capacity >= size && block->capacity / 2 <= size) {
                *link = block->next;
                kept_ -= block->capacity;
                return block;
            }
        }
        const std::size_t capacity = (size + kStep - 1) / kStep * kStep;
        auto* block = static_cast<Block*>(av_malloc(sizeof(Block) + capacity));
        if (block) {
            block->capacity = capacity;
        }
        return block;
    }
    void GiveBack(Block* block) {
        const std::lock_guard lock(mutex_);
        const bool keep = users_ > 0 && kept_ + block->capacity <= kMostKept;
        block->next = keep ? first_ : nullptr;
        if (keep) {
            first_ = block;
            kept_ += block->capacity;
        } else {
            Free(block);
        }
    }

  private:
    static void Free(Block* block) {
        while (block) {
            av_free(std::exchange(block, block->next));
        }
    }

    Mutex mutex_;
    int users_ = 0;
    Block* first_ = nullptr;
    std::size_t kept_ = 0;  ///< bytes
};

Store store;

void GiveBack(void* block, std::uint8_t*) {
    store.GiveBack(static_cast<Block*>(block));
}

}  // namespace

PacketMemory::PacketMemory() {
    store.Open();
}

PacketMemory::~PacketMemory() {
    store.Close();
}

}  // namespace nyx::source

// The linker leads the media library's calls of av_buffer_alloc, by which it makes packets, here.
extern "C" {

AVBufferRef* __real_av_buffer_alloc(std::size_t size);

AVBufferRef* __wrap_av_buffer_alloc(std::size_t size) {
    using namespace nyx::source;
    if (size < kLarge || size > PTRDIFF_MAX - kStep - sizeof(Block)) {
        return __real_av_buffer_alloc(size);
    }
    Block* block = store.Take(size);
    if (!block) {
        return nullptr;
    }
    AVBufferRef* buffer =
        av_buffer_create(reinterpret_cast<std::uint8_t*>(block + 1), size, GiveBack, block, 0);
    if (!buffer) {
        store.GiveBack(block);
    }
    return buffer;
}

}  // extern "C"
