#include "tests/faults/starved_memory.h"

#include <objbase.h>

#include <cstdlib>
#include <new>

using nyx::test::Answer;

extern "C" {

__declspec(dllexport) nyx::test::Starved starved = {};

/// Counts one allocation. Whether it is the one to fail.
static bool RunsOut() {
    return ++starved.asked == starved.failing;
}

static void* __stdcall TaskAllocate(SIZE_T size) {
    return RunsOut() ? nullptr : CoTaskMemRealloc(nullptr, size);
}

static SIZE_T __stdcall Query(const void* address, MEMORY_BASIC_INFORMATION* region, SIZE_T size) {
    ++starved.queries;
    const SIZE_T result = VirtualQueryEx(GetCurrentProcess(), address, region, size);
    region->State = starved.answer == Answer::kReserved ? MEM_RESERVE : region->State;
    region->Protect = starved.answer == Answer::kReserved ? 0 : region->Protect;
    region->AllocationProtect |= starved.answer == Answer::kWriteCombined ? PAGE_WRITECOMBINE : 0;
    return starved.answer == Answer::kUnknown ? 0 : result;
}

// These replace the imports, through which every call goes.
void*(__stdcall* taskAllocateImport)(SIZE_T) asm(NYX_TASK_ALLOCATE_IMPORT) = &TaskAllocate;
SIZE_T(__stdcall* queryImport)
(const void*, MEMORY_BASIC_INFORMATION*, SIZE_T) asm(NYX_QUERY_IMPORT) = &Query;
}

// The other forms call these.
void* operator new(std::size_t size) {
    void* block = RunsOut() ? nullptr : std::malloc(size ? size : 1);
    starved.alive += block ? 1 : 0;
    return block ? block : throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    starved.alive -= block ? 1 : 0;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
