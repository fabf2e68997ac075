#pragma once

#include "platform/win_types.h"

#ifndef _WIN32
#include <sys/mman.h>
#endif

#include <algorithm>
#include <cstddef>
#include <vector>

namespace nyx::test {

#ifdef _WIN32
inline void* MapPages(std::size_t size) {
    return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS);
}
inline void AllowPages(void* pages, std::size_t size, bool writing) {
    DWORD old = 0;
    VirtualProtect(pages, size, writing ? PAGE_READWRITE : PAGE_READONLY, &old);
}
inline void UnmapPages(void* pages, std::size_t) {
    VirtualFree(pages, 0, MEM_RELEASE);
}
#else
inline void* MapPages(std::size_t size) {
    return mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}
inline void AllowPages(void* pages, std::size_t size, bool writing) {
    mprotect(pages, size, writing ? PROT_READ | PROT_WRITE : PROT_READ);
}
inline void UnmapPages(void* pages, std::size_t size) {
    munmap(pages, size);
}
#endif

/// A block beside inaccessible pages, on Linux and Windows: the first byte read or written past its
/// end faults, or with `Edge::kStart` the first one before its start; at the other edge an access
/// more than a page away does. A block of 0 bytes is the address of an inaccessible page.
class GuardedMemory {
  public:
    enum class Edge { kEnd, kStart };

    explicit GuardedMemory(std::size_t size, BYTE fill = 0, Edge edge = Edge::kEnd)
        : size_(size),
          inside_((size + kPage - 1) / kPage * kPage),
          pages_(static_cast<BYTE*>(MapPages(inside_ + 2 * kPage))),
          data_(pages_ + kPage + (edge == Edge::kEnd ? inside_ - size : 0)) {
        AllowPages(pages_ + kPage, inside_, true);
        std::fill_n(data_, size, fill);
    }
    explicit GuardedMemory(const std::vector<BYTE>& bytes) : GuardedMemory(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), data_);
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory() { UnmapPages(pages_, inside_ + 2 * kPage); }

    /// Makes the block read-only.
    void Protect() const { AllowPages(pages_ + kPage, inside_, false); }

    BYTE* data() const { return data_; }
    std::size_t size() const { return size_; }

  private:
    static constexpr std::size_t kPage = 4096;

    const std::size_t size_, inside_;
    BYTE *const pages_, *const data_;
};

}  // namespace nyx::test
