#pragma once

#include <windows.h>

#include <set>
#include <string>
#include <vector>

#include "platform/unique_handle.h"

namespace nyx::test {

/// The registry's entries below a key, of the classes' part by default, as "path=value".
inline std::set<std::wstring> RegistryBelow(const std::wstring& name,
                                            HKEY parent = HKEY_CLASSES_ROOT) {
    std::set<std::wstring> entries = {name};
    const UniqueKey key = OpenKey(parent, name.c_str(), KEY_READ);
    wchar_t text[1024];
    std::vector<wchar_t> data(1 << 16);
    for (DWORD i = 0, length = 1024, size = 1 << 17;
         RegEnumValueW(key.get(), i, text, &length, nullptr, nullptr,
                       reinterpret_cast<BYTE*>(data.data()), &size) == ERROR_SUCCESS;
         ++i, length = 1024, size = 1 << 17) {
        entries.insert(name + L":" + text + L"=" + std::wstring(data.data(), size / 2));
    }
    for (DWORD i = 0; RegEnumKeyW(key.get(), i, text, 1024) == ERROR_SUCCESS; ++i) {
        for (const std::wstring& entry : RegistryBelow(text, key.get())) {
            entries.insert(name + L"\\" + entry);
        }
    }
    return entries;
}

}  // namespace nyx::test
