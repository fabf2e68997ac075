#pragma once

#include <windows.h>

#include <winternl.h>

#include <gtest/gtest.h>
#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace nyx::test {

/// What this process holds of the system's resources. Asked in such a way that Wine answers too,
/// where the usual calls give 0 for most of them. Other threads should be at rest.
struct Held {
    std::size_t privateBytes;  ///< memory that is this process's alone
    std::size_t heapBlocks;    ///< in use, in all heaps
    std::size_t handles;
    std::size_t gdiObjects;
    std::size_t threads;
};

namespace held {

inline std::size_t PrivateBytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.PagefileUsage;
}

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

/// The process's own entries of the system's table; 0 when that cannot be had.
inline std::size_t Handles() {
    struct Entry {
        ULONG process;
        ULONG kindAndValue;
        void* object;
        ACCESS_MASK access;
    };
    constexpr auto kSystemHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    std::vector<Entry> table(1 << 16);  // the count stands where the first entry begins
    const auto size = static_cast<ULONG>(table.size() * sizeof(Entry));
    if (NtQuerySystemInformation(kSystemHandleInformation, table.data(), size, nullptr) < 0) {
        return 0;
    }
    const auto* const first =
        reinterpret_cast<const Entry*>(reinterpret_cast<const ULONG*>(table.data()) + 1);
    return static_cast<std::size_t>(
        std::count_if(first, first + table[0].process,
                      [](const Entry& entry) { return entry.process == GetCurrentProcessId(); }));
}

/// The entries of the table of GDI objects that every 32-bit process maps.
inline std::size_t GdiObjects() {
    struct Entry {
        BYTE object[14];
        BYTE type;  // 0: free
        BYTE rest[9];
    };
    constexpr std::size_t kGdiTable = 0x94;  // in the process's block
    constexpr int kEntries = 0x4000;
    PROCESS_BASIC_INFORMATION process = {};
    NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process,
                              sizeof(process), nullptr);
    const auto* block = reinterpret_cast<const BYTE*>(process.PebBaseAddress);
    const Entry* table = *reinterpret_cast<const Entry* const*>(block + kGdiTable);
    return !table ? 0
                  : static_cast<std::size_t>(std::count_if(
                        table, table + kEntries, [](const Entry& e) { return e.type != 0; }));
}

inline std::size_t Threads() {
    const HANDLE all = CreateToolhelp32Snapshot(DWORD{TH32CS_SNAPTHREAD}, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    std::size_t count = 0;
    for (BOOL more = Thread32First(all, &entry); more; more = Thread32Next(all, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1u : 0u;
    }
    CloseHandle(all);
    return count;
}

}  // namespace held

inline Held CountHeld() {
    return {held::PrivateBytes(), held::HeapBlocks(), held::Handles(), held::GdiObjects(),
            held::Threads()};
}

/// Calls `round` many times; less than one heap block in ten rounds may be left, which is what the
/// runtime's own caches add.
template <class Round>
void ExpectNoLeak(int rounds, Round round) {
    constexpr int kWarmUp = 10;
    std::size_t before = 0;
    for (int i = 0; i < kWarmUp + rounds && !::testing::Test::HasFatalFailure(); ++i) {
        before = i == kWarmUp ? held::HeapBlocks() : before;
        round();
    }
    EXPECT_LE(held::HeapBlocks(), before + static_cast<std::size_t>(rounds / 10)) << "blocks lost";
}

}  // namespace nyx::test
