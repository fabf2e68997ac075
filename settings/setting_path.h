#pragma once

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

}  // namespace nyx
