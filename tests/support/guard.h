#pragma once

#include "platform/win_types.h"

#ifndef _WIN32
#include <sys/mman.h>
#endif

#include <algorithm>
#include <cstddef>
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
#ifdef _WIN32
        void* pages = VirtualAlloc(nullptr, Whole(), MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS);
        Require(pages != nullptr);
#else
        void* pages = mmap(nullptr, Whole(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        Require(pages != MAP_FAILED);
#endif
        pages_ = static_cast<BYTE*>(pages);
        data_ = pages_ + kPage + (edge == Edge::kEnd ? inside_ - size : 0);
        Allow(true);
        std::fill_n(data_, size, fill);
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
        munmap(pages_, Whole());
#endif
    }

    /// Takes the right to write away.
    void Protect() const {
        Allow(false);
    }

    BYTE* data() const {
        return data_;
    }
    std::size_t size() const {
        return size_;
    }

  private:
    static constexpr std::size_t kPage = 4096;

    std::size_t Whole() const {
        return inside_ + 2 * kPage;
    }

    void Allow(bool writing) const {
        if (inside_ == 0) {
            return;
        }
#ifdef _WIN32
        DWORD old = 0;
        Require(VirtualProtect(pages_ + kPage, inside_, writing ? PAGE_READWRITE : PAGE_READONLY,
                               &old) != FALSE);
#else
        const int rights = writing ? PROT_READ | PROT_WRITE : PROT_READ;
        Require(mprotect(pages_ + kPage, inside_, rights) == 0);
#endif
    }

    static void Require(bool done) {
        if (!done) {
            throw std::bad_alloc();
        }
    }

    std::size_t size_, inside_;
    BYTE *pages_ = nullptr, *data_ = nullptr;
};

}  // namespace nyx::test
