#pragma once

#include <windows.h>

#include <winternl.h>

#include <gtest/gtest.h>
#include <psapi.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <thread>
#include <utility>

namespace nyx::test {

/// What this process holds of the system's resources. Other threads should be at rest.
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

/// Asks in such a way that Wine answers too, where the call for the count of handles gives 0.
inline Held CountHeld() {
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    Held held = {memory.PagefileUsage, HeapBlocks(), 0};
    struct Table {
        ULONG count;
        struct {
            ULONG process, kindAndNumber;
            void* object;
            ULONG access;
        } handles[1 << 16];  // of the whole system
    };
    const auto table = std::make_unique<Table>();
    NtQuerySystemInformation(static_cast<SYSTEM_INFORMATION_CLASS>(16), table.get(), sizeof(Table),
                             nullptr);
    for (ULONG i = 0; i < table->count; ++i) {
        held.handles += table->handles[i].process == GetCurrentProcessId() ? 1u : 0u;
    }
    return held;
}

/// Calls `round` many times; less than one heap block in ten rounds may be left, which is what the
/// runtime's own caches add.
template <class Round>
void ExpectNoLeak(int rounds, Round round) {
    constexpr int kWarmUp = 10;
    std::size_t before = 0;
    for (int i = 0; i < kWarmUp + rounds && !::testing::Test::HasFatalFailure(); ++i) {
        before = i == kWarmUp ? HeapBlocks() : before;
        round();
    }
    EXPECT_LE(HeapBlocks(), before + static_cast<std::size_t>(rounds / 10)) << "blocks lost";
}

/// Calls `round` here and on threads of its own in turn, which each may load and free libraries.
/// Past what the system makes once, that leaves no thread-local slot, handle or heap block.
template <class Round>
void ExpectNothingKept(Round round) {
    // Every DirectShow host has it, of the graph manager; Wine's loses handles when freed.
    ASSERT_TRUE(LoadLibraryW(L"winmm.dll"));
    const auto count = [] {
        const DWORD slot = TlsAlloc();  // the first that is free
        TlsFree(slot);
        return std::pair(slot, CountHeld());
    };
    auto before = count();
    for (int i = 0; i < 8 && !::testing::Test::HasFatalFailure(); ++i) {
        before = i == 4 ? count() : before;
        i % 2 == 0 ? round() : std::thread(round).join();
    }
    const auto [slot, held] = count();
    EXPECT_NE(held.handles, 0u);
    EXPECT_EQ(slot, before.first);
    EXPECT_LE(held.handles, before.second.handles);
    EXPECT_LE(held.heapBlocks, before.second.heapBlocks);
}

}  // namespace nyx::test
