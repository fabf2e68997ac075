#pragma once

#include <windows.h>

namespace nyx {

/// True once the process ends: its other threads are gone, perhaps with the lock of the heap, and
/// the system takes back all memory. Callable under the loader's lock.
inline bool ProcessEnds() {
    const auto asks = reinterpret_cast<BOOLEAN(WINAPI*)()>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
    return !asks || asks();
}

}  // namespace nyx
