#pragma once

/// @file
/// The settings store: 32-bit integers in the registry. No cache, no lock, no notification: every
/// call opens, uses and closes its own key. Callable on any thread; nothing throws.

#include <windows.h>

namespace nyx {

/// Reads the four raw bytes of `valueName` under `keyPath`, whatever their stored type. A backslash
/// in the value's name leads to a subkey. Returns `defaultValue` when the key or value is missing,
/// empty, longer than four bytes, or cannot be read.
DWORD ReadSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName,
                       DWORD defaultValue);

/// Writes `value` as `REG_DWORD`, creating the key when needed. Returns a Win32 error code, 0 on
/// success: a key that cannot be created or opened is reported, a failed value write is not.
LONG WriteSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName, DWORD value);

}  // namespace nyx
