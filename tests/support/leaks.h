#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <psapi.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <utility>

namespace nyx::test {

/// The system's resources that this process holds. Other threads should be idle.
struct Held {
    std::size_t privateBytes;  ///< memory that is this process's alone
    std::size_t heapBlocks;    ///< in use, in all heaps
    std::size_t handles;
};

/// Blocks in use in all heaps.
inline std::size_t HeapBlocks() {
    HANDLE heaps[64] = {};
    const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
    std::size_t blocks = 0;
    for (DWORD i = 0; i < count; ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry)) {
            blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) ? 1 : 0;
        }
        HeapUnlock(heaps[i]);
    }
    return blocks;
}

/// Tries each number that a handle of this process can have: the call for how many there are
/// returns 0 under Wine 8, and its server ends while it lists the handles of a process that has
/// none yet.
inline Held CountHeld() {
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    Held held = {memory.PagefileUsage, HeapBlocks(), 0};
    for (std::uintptr_t number = 4; number < 4 * 2048; number += 4) {
        DWORD flags = 0;
        held.handles += GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags) ? 1u : 0u;
    }
    return held;
}

/// Calls `round`, which may load and free libraries, alternately here and on a new thread. Apart
/// from what the system allocates once, it leaves no thread-local slot, handle or heap block.
template <class Round>
void ExpectNothingKept(Round round) {
    // The graph manager loads it in every DirectShow host; Wine's leaks handles when freed.
    ASSERT_TRUE(LoadLibraryW(L"winmm.dll"));
    const auto count = [] {
        const DWORD slot = TlsAlloc();  // the first that is free
        TlsFree(slot);
        return std::pair(slot, CountHeld());
    };
    auto before = count();
    for (int i = 0; i < 8 && !::testing::Test::HasFatalFailure(); ++i) {
        before = i == 4 ? count() : before;
        if (i % 2 == 0) {
            round();
        } else {
            std::thread(round).join();
        }
    }
    auto after = count();
    for (int i = 0; i < 500 && after.second.handles > before.second.handles; ++i) {
        Sleep(10);  // a thread's own go a little after it
        after = count();
    }
    const auto& [slot, held] = after;
    EXPECT_NE(held.handles, 0u);
    EXPECT_EQ(slot, before.first);
    EXPECT_LE(held.handles, before.second.handles);
    EXPECT_LE(held.heapBlocks, before.second.heapBlocks);
}

}  // namespace nyx::test
