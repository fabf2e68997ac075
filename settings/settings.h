#pragma once

/// @file
/// The settings store: 32-bit integers in the registry, without cache, lock or notification: each
/// call opens, uses and closes its own key. Any thread.

#include <windows.h>

#include <string>

namespace nyx {

/// A registry value: the path of its key and its name.
struct SettingPath {
    std::wstring key;
    std::wstring value;
};

/// Joins `keyPath` and `valueName` and splits the result at its last backslash or colon, so that a
/// value name with backslashes addresses a subkey. The key path keeps a separating colon, and a
/// separating backslash that is its first character or follows a colon. A unit in the range of a
/// multi-byte code page's lead bytes (0x81 to 0x9F, 0xE0 to 0xFC) and the unit after it are never
/// separators. May throw std::bad_alloc.
SettingPath SplitSettingPath(const wchar_t* keyPath, const wchar_t* valueName);

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
