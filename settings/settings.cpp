#include "settings/settings.h"

#include <cstddef>
#include <new>
#include <utility>

#include "platform/unique_handle.h"

namespace nyx {
namespace {

constexpr std::size_t kNone = std::wstring::npos;

bool IsLeadUnit(wchar_t unit) {
    return (unit >= 0x81 && unit <= 0x9F) || (unit >= 0xE0 && unit <= 0xFC);
}

struct Separator {
    std::size_t position = kNone;
    bool followsColon = false;
};

Separator LastSeparator(const std::wstring& path) {
    Separator last;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (IsLeadUnit(path[i])) {
            ++i;
        } else if (path[i] == L'\\' || path[i] == L':') {
            const bool afterColon =
                last.position != kNone && last.position + 1 == i && path[last.position] == L':';
            last = {i, afterColon};
        }
    }
    return last;
}

}  // namespace

SettingPath SplitSettingPath(const wchar_t* keyPath, const wchar_t* valueName) {
    std::wstring path = keyPath ? keyPath : L"";
    const std::size_t end = LastSeparator(path).position;
    if (end == kNone || end + 1 != path.size()) {
        path += L'\\';
    }
    path += valueName ? valueName : L"";

    // Only a lead unit at the end of the key path leaves no separator.
    const Separator split = LastSeparator(path);
    if (split.position == kNone) {
        return {L"", path};
    }
    const bool keep = path[split.position] == L':' || split.position == 0 || split.followsColon;
    return {path.substr(0, split.position + (keep ? 1 : 0)), path.substr(split.position + 1)};
}

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
