#pragma once

#include <windows.h>

#include <set>
#include <string>
#include <vector>

namespace nyx::test {

/// The registry's entries from a key of the classes' part on, as "path=value".
inline std::set<std::wstring> RegistryBelow(const std::wstring& name,
                                            HKEY parent = HKEY_CLASSES_ROOT) {
    std::set<std::wstring> entries = {name};
    HKEY key = nullptr;
    RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, &key);
    wchar_t text[1024];
    std::vector<wchar_t> data(1 << 16);
    for (DWORD i = 0, length = 1024, size = 1 << 17;
         RegEnumValueW(key, i, text, &length, nullptr, nullptr,
                       reinterpret_cast<BYTE*>(data.data()), &size) == ERROR_SUCCESS;
         ++i, length = 1024, size = 1 << 17) {
        entries.insert(name + L":" + text + L"=" + std::wstring(data.data(), size / 2));
    }
    for (DWORD i = 0; RegEnumKeyW(key, i, text, 1024) == ERROR_SUCCESS; ++i) {
        for (const std::wstring& entry : RegistryBelow(text, key)) {
            entries.insert(name + L"\\" + entry);
        }
    }
    RegCloseKey(key);
    return entries;
}

}  // namespace nyx::test
