#include "tests/support/guarded_memory.h"

#include <cstring>
#include <new>

namespace nyx::test {
namespace {

constexpr std::size_t kPage = 4096;

}  // namespace

GuardedMemory::GuardedMemory(std::size_t size, BYTE fill) : size_(size) {
    const std::size_t readable = (size + kPage - 1) / kPage * kPage;
    pages_ = static_cast<BYTE*>(
        VirtualAlloc(nullptr, readable + kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD old = 0;
    if (!pages_ || !VirtualProtect(pages_ + readable, kPage, PAGE_NOACCESS, &old)) {
        throw std::bad_alloc();
    }
    data_ = pages_ + readable - size;
    std::memset(data_, fill, size);
}

void GuardedMemory::Protect() const {
    DWORD old = 0;
    if (size_ != 0 && !VirtualProtect(data_, size_, PAGE_READONLY, &old)) {
        throw std::bad_alloc();
    }
}

GuardedMemory::~GuardedMemory() {
    VirtualFree(pages_, 0, MEM_RELEASE);
}

}  // namespace nyx::test
