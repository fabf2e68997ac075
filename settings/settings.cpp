#include "settings/settings.h"

#include <new>

#include "settings/setting_path.h"

namespace nyx {

DWORD ReadSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName,
                       DWORD defaultValue) try {
    const SettingPath path = SplitSettingPath(keyPath, valueName);
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.key.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS || !key) {
        return defaultValue;
    }
    DWORD value = 0;
    DWORD size = sizeof(value);
    const LONG result = RegQueryValueExW(key, path.value.c_str(), nullptr, nullptr,
                                         reinterpret_cast<BYTE*>(&value), &size);
    RegCloseKey(key);
    return result == ERROR_SUCCESS && size != 0 ? value : defaultValue;
} catch (const std::bad_alloc&) {
    return defaultValue;
}

LONG WriteSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName,
                       DWORD value) try {
    const SettingPath path = SplitSettingPath(keyPath, valueName);
    HKEY key = nullptr;
    const LONG created =
        RegCreateKeyExW(root, path.key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                        nullptr, &key, nullptr);
    if (created != ERROR_SUCCESS || !key) {
        return created;
    }
    RegSetValueExW(key, path.value.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                   sizeof(value));
    return RegCloseKey(key);
} catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
}

}  // namespace nyx
