#include "tests/faults/starved_memory.h"

#include <windows.h>

#include <cstdlib>
#include <new>

namespace {

long failing = 0;
nyx::test::MemoryCount count = {};

/// Counts one allocation; whether it is the one to fail.
bool RunsOut() {
    return ++count.asked == failing;
}

void* Allocate(std::size_t size) {
    void* block = RunsOut() ? nullptr : std::malloc(size ? size : 1);
    count.alive += block ? 1 : 0;
    return block;
}

void* AllocateOrThrow(std::size_t size) {
    void* block = Allocate(size);
    if (!block) {
        throw std::bad_alloc();
    }
    return block;
}

void Free(void* block) {
    count.alive -= block ? 1 : 0;
    std::free(block);
}

void* __stdcall TaskAllocate(SIZE_T size) {
    using Allocator = void*(__stdcall*)(SIZE_T);
    static const auto allocator = reinterpret_cast<Allocator>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ole32"), "CoTaskMemAlloc")));
    return RunsOut() ? nullptr : allocator(size);
}

}  // namespace

extern "C" {

void starved_fail(long number) {
    failing = number;
    count.asked = 0;
}

nyx::test::MemoryCount starved_count() {
    return count;
}

// Stands in the place of the import, where every call of CoTaskMemAlloc looks.
void*(__stdcall* const taskAllocateImport)(SIZE_T) asm("__imp__CoTaskMemAlloc@4") = &TaskAllocate;
}

void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    Free(block);
}
void operator delete[](void* block) noexcept {
    Free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    Free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    Free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    Free(block);
}
