#pragma once

#include "platform/win_types.h"

#ifndef _WIN32
#include <sys/mman.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <vector>

namespace nyx::test {

/// A block beside inaccessible pages, on Linux and Windows: the first byte read or written past its
/// end faults, or with `Edge::kStart` the first one before its start; at the other edge whatever
/// lies more than a page away. A block of 0 bytes is the address of an inaccessible page.
class GuardedMemory {
  public:
    enum class Edge { kEnd, kStart };

    explicit GuardedMemory(std::size_t size, BYTE fill = 0, Edge edge = Edge::kEnd)
        : size_(size), inside_((size + kPage - 1) / kPage * kPage) {
        Reserve();
        data_ = pages_ + kPage + (edge == Edge::kEnd ? inside_ - size : 0);
        if (size != 0) {
            Allow(true);
            std::memset(data_, fill, size);
        }
    }
    explicit GuardedMemory(const std::vector<BYTE>& bytes) : GuardedMemory(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), data_);
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory() {
#ifdef _WIN32
        VirtualFree(pages_, 0, MEM_RELEASE);
#else
        munmap(pages_, inside_ + 2 * kPage);
#endif
    }

    /// Takes the right to write away.
    void Protect() const {
        if (size_ != 0) {
            Allow(false);
        }
    }

    BYTE* data() const {
        return data_;
    }
    std::size_t size() const {
        return size_;
    }

  private:
    static constexpr std::size_t kPage = 4096;

    void Reserve() {
        const std::size_t bytes = inside_ + 2 * kPage;
#ifdef _WIN32
        void* pages = VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS);
#else
        void* pages = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        pages = pages == MAP_FAILED ? nullptr : pages;
#endif
        Require(pages != nullptr);
        pages_ = static_cast<BYTE*>(pages);
    }

    void Allow(bool writing) const {
#ifdef _WIN32
        DWORD old = 0;
        Require(VirtualProtect(pages_ + kPage, inside_, writing ? PAGE_READWRITE : PAGE_READONLY,
                               &old) != FALSE);
#else
        Require(mprotect(pages_ + kPage, inside_, writing ? PROT_READ | PROT_WRITE : PROT_READ) ==
                0);
#endif
    }

    static void Require(bool done) {
        if (!done) {
            throw std::bad_alloc();
        }
    }

    std::size_t size_;
    std::size_t inside_;
    BYTE* pages_ = nullptr;
    BYTE* data_ = nullptr;
};

}  // namespace nyx::test
