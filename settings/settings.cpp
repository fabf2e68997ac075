#include "settings/settings.h"

#include <new>
#include <utility>

#include "platform/unique_handle.h"
#include "settings/setting_path.h"

namespace nyx {

DWORD ReadSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName,
                       DWORD defaultValue) noexcept try {
    const SettingPath path = SplitSettingPath(keyPath, valueName);
    const UniqueKey key = OpenKey(root, path.key.c_str(), KEY_READ);
    if (!key) {
        return defaultValue;
    }
    DWORD value = 0;
    DWORD size = sizeof(value);
    const LONG result = RegQueryValueExW(key.get(), path.value.c_str(), nullptr, nullptr,
                                         reinterpret_cast<BYTE*>(&value), &size);
    return result == ERROR_SUCCESS && size != 0 ? value : defaultValue;
} catch (const std::bad_alloc&) {
    return defaultValue;
}

LONG WriteSettingDword(HKEY root, const wchar_t* keyPath, const wchar_t* valueName,
                       DWORD value) noexcept try {
    const SettingPath path = SplitSettingPath(keyPath, valueName);
    UniqueKey key;
    const LONG created = CreateKey(root, path.key.c_str(), KEY_ALL_ACCESS, &key);
    if (!key) {
        return created;
    }
    RegSetValueExW(key.get(), path.value.c_str(), 0, REG_DWORD,
                   reinterpret_cast<const BYTE*>(&value), sizeof(value));
    return CloseKey(std::move(key));
} catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
}

}  // namespace nyx
