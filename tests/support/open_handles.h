#pragma once

#include <windows.h>

#include <winternl.h>

#include <vector>

namespace nyx::test {

/// Handles that this process holds, counted in the system's own table: Wine's GetProcessHandleCount
/// always says 0. 0 when the table cannot be had.
inline ULONG OpenHandles() {
    struct Entry {
        ULONG process;
        BYTE objectType;
        BYTE flags;
        WORD value;
        void* object;
        ACCESS_MASK access;
    };
    constexpr auto kSystemHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    const auto query =
        reinterpret_cast<decltype(&NtQuerySystemInformation)>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleW(L"ntdll"), "NtQuerySystemInformation")));
    std::vector<Entry> table(4096);  // the count stands where the first entry begins
    ULONG needed = 0;
    while (query(kSystemHandleInformation, table.data(),
                 static_cast<ULONG>(table.size() * sizeof(Entry)), &needed) < 0) {
        if (table.size() > 1u << 20) {
            return 0;
        }
        table.resize(2 * table.size());
    }
    const auto* const count = reinterpret_cast<const ULONG*>(table.data());
    const auto* const entries = reinterpret_cast<const Entry*>(count + 1);
    ULONG own = 0;
    for (ULONG i = 0; i < *count; ++i) {
        own += entries[i].process == GetCurrentProcessId() ? 1u : 0u;
    }
    return own;
}

}  // namespace nyx::test
