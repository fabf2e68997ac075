/// @file
/// What libavutil allocates with, in place of three functions of the C runtime. A damaged file may
/// claim any number of rows; the shell's process shall stay below 256 MB. Callable on any thread.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr std::size_t kMaxBytes = 96 << 20;  // for all files that are read at once
constinit std::atomic<std::size_t> used{0};

/// In front of the bytes that are handed out.
struct Block {
    void* memory;
    std::size_t size;
};

void* Resize(void* bytes, std::size_t size, std::size_t alignment) {
    const Block old = bytes ? static_cast<Block*>(bytes)[-1] : Block{};
    void* moved = nullptr;
    used += size;
    if (size > 0 && size <= kMaxBytes && used <= kMaxBytes) {
        if (void* const memory = std::malloc(sizeof(Block) + alignment + size)) {
            const auto end = reinterpret_cast<std::uintptr_t>(memory) + sizeof(Block) + alignment;
            moved = reinterpret_cast<void*>((end - 1) / alignment * alignment);
            static_cast<Block*>(moved)[-1] = {memory, size};
            std::copy_n(static_cast<char*>(bytes), std::min(size, old.size),
                        static_cast<char*>(moved));
        }
    }
    used -= moved ? 0 : size;
    if (moved || size == 0) {
        used -= old.size;
        std::free(old.memory);
    }
    return moved;
}

}  // namespace

// The addresses through which objects call functions of other libraries.
#define NYX_TEXT_OF(text) #text
#define NYX_TEXT(macro) NYX_TEXT_OF(macro)
#define NYX_IMPORTED(name) asm("__imp_" NYX_TEXT(__USER_LABEL_PREFIX__) #name)

extern "C" {
void* (*importedMalloc)(std::size_t, std::size_t)NYX_IMPORTED(_aligned_malloc) =
    [](std::size_t size, std::size_t alignment) { return Resize(nullptr, size, alignment); };
void* (*importedRealloc)(void*, std::size_t, std::size_t)NYX_IMPORTED(_aligned_realloc) = Resize;
void (*importedFree)(void*) NYX_IMPORTED(_aligned_free) = [](void* bytes) { Resize(bytes, 0, 1); };
}
