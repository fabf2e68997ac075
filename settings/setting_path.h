#pragma once

#include <string>

namespace nyx {

/// A registry value's place: the key's path and the value's name.
struct SettingPath {
    std::wstring key;
    std::wstring value;
};

/// Joins `keyPath` and `valueName` and splits the whole at its last backslash or colon, so that a
/// value name with backslashes addresses a subkey. A separating backslash leaves the key path
/// unless it is its first character or follows a colon; a colon stays. Units that a multi-byte code
/// page would treat as lead bytes (0x81 to 0x9F, 0xE0 to 0xFC) are passed over together with the
/// unit behind them: neither is ever a separator. May throw std::bad_alloc.
SettingPath SplitSettingPath(const wchar_t* keyPath, const wchar_t* valueName);

}  // namespace nyx
