#pragma once

#include <windows.h>

#include <cstddef>

namespace nyx::test {

/// A block whose last byte is the last byte of a readable page, with an inaccessible page after it:
/// one byte read or written too far is an access violation. A block of 0 bytes is the address of
/// the inaccessible page.
class GuardedMemory {
  public:
    explicit GuardedMemory(std::size_t size, BYTE fill = 0);
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory();

    /// Takes the right to write away.
    void Protect() const;

    BYTE* data() const { return data_; }
    std::size_t size() const { return size_; }

  private:
    BYTE* pages_;
    BYTE* data_;
    std::size_t size_;
};

}  // namespace nyx::test
