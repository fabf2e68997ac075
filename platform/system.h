#pragma once

/// @file
/// Questions to the system that runs this process. Any thread.

#include <windows.h>

namespace nyx {

/// The calling thread's last error as an HRESULT: a failure even where the system left no code.
[[nodiscard]] inline HRESULT LastError() noexcept {
    const HRESULT result = HRESULT_FROM_WIN32(GetLastError());
    return FAILED(result) ? result : E_FAIL;
}

/// True under Wine, some of whose own objects differ from Windows'.
inline bool IsWine() noexcept {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

/// True once the process ends: its other threads are gone, perhaps with the lock of the heap, and
/// the system takes back all memory. Callable under the loader's lock.
inline bool ProcessEnds() noexcept {
    const auto asks = reinterpret_cast<BOOLEAN(WINAPI*)()>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
    return !asks || asks();
}

}  // namespace nyx
