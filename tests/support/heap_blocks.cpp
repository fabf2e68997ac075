#include "tests/support/heap_blocks.h"

#include <windows.h>

#include <vector>

namespace nyx::test {

std::size_t LiveHeapBlocks() {
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
