/// @file
/// What libavutil allocates with, in place of the three functions that its objects import from the
/// system's C runtime. The tables of a damaged file may claim any number of rows; the shell's
/// process shall stay below 256 MB. Callable on any thread.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kMaxBytes = 128 << 20;  // for all files that are read at once
constinit std::atomic<std::size_t> used{0};

/// In front of the bytes that are handed out.
struct Block {
    void* memory;
    std::size_t size;
};

Block* BlockOf(void* bytes) {
    return static_cast<Block*>(bytes) - 1;
}

void Free(void* bytes) {
    if (bytes) {
        used -= BlockOf(bytes)->size;
        std::free(BlockOf(bytes)->memory);
    }
}

void* Allocate(std::size_t size, std::size_t alignment) {
    if (size > kMaxBytes || used.fetch_add(size) > kMaxBytes - size) {
        used -= size > kMaxBytes ? 0 : size;
        return nullptr;
    }
    void* const memory = std::malloc(sizeof(Block) + alignment + size);
    if (!memory) {
        used -= size;
        return nullptr;
    }
    const auto place = reinterpret_cast<std::uintptr_t>(memory) + sizeof(Block) + alignment - 1;
    void* const bytes = reinterpret_cast<void*>(place / alignment * alignment);
    *BlockOf(bytes) = {memory, size};
    return bytes;
}

void* Reallocate(void* bytes, std::size_t size, std::size_t alignment) {
    void* const moved = size > 0 ? Allocate(size, alignment) : nullptr;
    if (moved && bytes) {
        std::memcpy(moved, bytes, std::min(size, BlockOf(bytes)->size));
    }
    if (moved || size == 0) {
        Free(bytes);
    }
    return moved;
}

}  // namespace

// The addresses through which objects call the functions of other libraries.
#define NYX_TEXT_OF(text) #text
#define NYX_TEXT(macro) NYX_TEXT_OF(macro)
#define NYX_IMPORTED(name) asm("__imp_" NYX_TEXT(__USER_LABEL_PREFIX__) #name)

extern "C" {
extern void* (*const importedMalloc)(std::size_t, std::size_t)NYX_IMPORTED(_aligned_malloc);
extern void* (*const importedRealloc)(void*, std::size_t,
                                      std::size_t)NYX_IMPORTED(_aligned_realloc);
extern void (*const importedFree)(void*) NYX_IMPORTED(_aligned_free);
void* (*const importedMalloc)(std::size_t, std::size_t) = Allocate;
void* (*const importedRealloc)(void*, std::size_t, std::size_t) = Reallocate;
void (*const importedFree)(void*) = Free;
}
