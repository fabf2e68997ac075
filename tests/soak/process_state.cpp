#include "tests/soak/process_state.h"

#include <tlhelp32.h>

#include "tests/codecs/standin_engines.h"
#include "tests/support/heap_blocks.h"

namespace nyx::soak {
namespace {

DWORD CountThreads() {
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    DWORD count = 0;
    for (BOOL more = Thread32First(all, &entry); more; more = Thread32Next(all, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(all);
    return count;
}

}  // namespace

ProcessState ReadProcessState() {
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    return {test::PrivateBytes(), test::LiveHeapBlocks(), handles,
            GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS), CountThreads()};
}

}  // namespace nyx::soak
