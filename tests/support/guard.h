#pragma once

#include "platform/win_types.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace nyx::test {

/// A block beside inaccessible pages: the first byte read or written past its end faults, or with
/// `Edge::kStart` the first one before its start; at the other edge an access more than a page away
/// does. A block of 0 bytes is the address of an inaccessible page. On Linux it is a block of the
/// heap, where the sanitizer sees an access at either edge.
class GuardedMemory {
  public:
    enum class Edge { kEnd, kStart };

    explicit GuardedMemory(std::size_t size, BYTE fill = 0, [[maybe_unused]] Edge edge = Edge::kEnd)
        : size_(size) {
#ifdef _WIN32
        constexpr std::size_t kPage = 4096;
        const std::size_t inside = (size + kPage - 1) / kPage * kPage;
        block_ = static_cast<BYTE*>(
            VirtualAlloc(nullptr, inside + 2 * kPage, MEM_RESERVE, PAGE_NOACCESS));
        VirtualAlloc(block_ + kPage, inside, MEM_COMMIT, PAGE_READWRITE);
        data_ = block_ + kPage + (edge == Edge::kEnd ? inside - size : 0);
#else
        data_ = block_ = new BYTE[size];
#endif
        std::fill_n(data_, size, fill);
    }
    explicit GuardedMemory(const std::vector<BYTE>& bytes) : GuardedMemory(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), data_);
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
#ifdef _WIN32
    ~GuardedMemory() {
        VirtualFree(block_, 0, MEM_RELEASE);
    }
    /// Makes the block read-only.
    void Protect() const {
        DWORD old = 0;
        VirtualProtect(data_, size_, PAGE_READONLY, &old);
    }
#else
    ~GuardedMemory() {
        delete[] block_;
    }
#endif

    BYTE* data() const {
        return data_;
    }
    std::size_t size() const {
        return size_;
    }

  private:
    const std::size_t size_;
    BYTE *block_ = nullptr, *data_ = nullptr;
};

}  // namespace nyx::test
