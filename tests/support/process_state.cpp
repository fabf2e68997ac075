#include "tests/support/process_state.h"

#include <winternl.h>

#include <tlhelp32.h>

#include "tests/support/heap_blocks.h"
#include "tests/support/open_handles.h"
#include "tests/support/private_bytes.h"

namespace nyx::test {
namespace {

/// The process's own entries of the table of GDI objects, which every 32-bit process maps.
DWORD CountGdiObjects() {
    struct Entry {
        BYTE object[8];
        WORD process;
        WORD count;
        WORD unique;
        BYTE type;  // 0: free
        BYTE flags;
        BYTE user[8];
    };
    constexpr std::size_t kGdiTable = 0x94;  // in the process's block
    constexpr int kEntries = 0x4000;
    if (const DWORD told = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) {
        return told;
    }
    PROCESS_BASIC_INFORMATION process = {};
    NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process,
                              sizeof(process), nullptr);
    const auto* block = reinterpret_cast<const BYTE*>(process.PebBaseAddress);
    const Entry* table = *reinterpret_cast<const Entry* const*>(block + kGdiTable);
    DWORD ours = 0;
    for (int i = 0; table && i < kEntries; ++i) {
        ours += table[i].type != 0 ? 1u : 0u;
    }
    return ours;
}

DWORD CountThreads() {
    const HANDLE all = CreateToolhelp32Snapshot(DWORD{TH32CS_SNAPTHREAD}, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    DWORD count = 0;
    for (BOOL more = Thread32First(all, &entry); more; more = Thread32Next(all, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1u : 0u;
    }
    CloseHandle(all);
    return count;
}

}  // namespace

ProcessState ReadProcessState() {
    return {PrivateBytes(), LiveHeapBlocks(), OpenHandles(), CountGdiObjects(), CountThreads()};
}

}  // namespace nyx::test
