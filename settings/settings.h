#pragma once

/// @file
/// The settings store: 32-bit integers in the registry, without cache, lock or notification: each
/// call opens, uses and closes its own key. Any thread.

#include <windows.h>

namespace nyx {

/// Reads the four raw bytes of `valueName` under `keyPath`, of any stored type. A backslash in the
/// value's name addresses a subkey. Returns `defaultValue` when the key or value is missing,
/// empty, longer than four bytes, or cannot be read.
DWORD ReadSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName,
                       DWORD defaultValue) noexcept;

/// Writes `value` as `REG_DWORD` and creates the key if it is missing. Returns a Win32 error code,
/// 0 on success; reports a key that cannot be created or opened, but not a failed write of the
/// value.
LONG WriteSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName,
                       DWORD value) noexcept;

}  // namespace nyx
