#pragma once

/// @file
/// Owners of the system's handles, which close what they hold. Null holds nothing.

#include <windows.h>

#include <memory>
#include <type_traits>

namespace nyx {

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

/// Takes over the result of CreateFile; null where that failed.
inline UniqueHandle AdoptFile(HANDLE file) noexcept {
    return UniqueHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

/// Closes a file for those who report how that went. False with the system's last error.
inline bool CloseFile(UniqueHandle file) noexcept {
    return CloseHandle(file.release()) != FALSE;
}

struct KeyCloser {
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};
using UniqueKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

/// Opens a registry key; null where that fails.
inline UniqueKey OpenKey(HKEY parent, const wchar_t* path, REGSAM access) noexcept {
    HKEY key = nullptr;
    return UniqueKey(RegOpenKeyExW(parent, path, 0, access, &key) == ERROR_SUCCESS ? key : nullptr);
}

/// Opens or creates a registry key that stays after a restart. A Win32 error, with `*key` null.
inline LSTATUS CreateKey(HKEY parent, const wchar_t* path, REGSAM access, UniqueKey* key) noexcept {
    HKEY created = nullptr;
    const LSTATUS status = RegCreateKeyExW(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                           access, nullptr, &created, nullptr);
    key->reset(status == ERROR_SUCCESS ? created : nullptr);
    return status;
}

/// Closes a key and returns the Win32 error of doing so.
inline LSTATUS CloseKey(UniqueKey key) noexcept {
    return RegCloseKey(key.release());
}

}  // namespace nyx
