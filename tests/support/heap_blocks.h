#pragma once

#include <windows.h>

#include <cstddef>
#include <vector>

namespace nyx::test {

/// Blocks in use in all heaps of the process, the C runtime's included. Other threads should be at
/// rest. Use differences: the runtime keeps blocks of its own.
inline std::size_t LiveHeapBlocks() {
    std::vector<HANDLE> heaps(64);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    std::size_t blocks = 0;
    for (const HANDLE heap : heaps) {
        HeapLock(heap);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heap, &entry)) {
            blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) ? 1 : 0;
        }
        HeapUnlock(heap);
    }
    return blocks;
}

}  // namespace nyx::test
