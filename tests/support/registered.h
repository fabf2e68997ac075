#pragma once

/// @file
/// What servers enter in the registry.

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "checks/program.h"
#include "platform/unique_handle.h"

namespace nyx::test {

using Entries = std::set<std::string>;

/// Below HKLM: which class reads the properties of files of a type.
constexpr wchar_t kPropertyHandlers[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\PropertySystem\\PropertyHandlers";

/// Adds every key, and every value behind the name of its key, a line each.
inline void ReadEntries(HKEY parent, const std::wstring& path, REGSAM view, Entries* entries) {
    const UniqueKey key = OpenKey(parent, path.c_str(), KEY_READ | view);
    if (!key) {
        return;
    }
    const std::string name = "[" + checks::Narrow(path) + "]";
    entries->insert(name);
    DWORD longest = 0;
    RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr, &longest, nullptr, nullptr);
    std::vector<BYTE> data;
    std::vector<wchar_t> text(16384);  // the longest name of a value
    for (DWORD i = 0;; ++i) {
        DWORD letters = static_cast<DWORD>(text.size()), bytes = longest, type = 0;
        data.assign(longest + 2, 0);  // a text may lack its end
        if (RegEnumValueW(key.get(), i, text.data(), &letters, nullptr, &type, data.data(),
                          &bytes)) {
            break;
        }
        std::string value = std::to_string(type) + ":";
        if (type == REG_SZ) {
            value = checks::Narrow(reinterpret_cast<const wchar_t*>(data.data()));
        } else {
            for (DWORD at = 0; at < bytes; ++at) {
                char digits[4];
                std::snprintf(digits, sizeof(digits), " %02x", data[at]);
                value += digits;
            }
        }
        entries->insert(name + " " + checks::Narrow(text.data()) + "=" + value);
    }
    for (DWORD i = 0;; ++i) {
        DWORD letters = static_cast<DWORD>(text.size());
        if (RegEnumKeyExW(key.get(), i, text.data(), &letters, nullptr, nullptr, nullptr,
                          nullptr)) {
            break;
        }
        ReadEntries(parent, path + L"\\" + text.data(), view, entries);
    }
}

/// All below the keys where our servers enter something, in a view of the registry.
inline Entries Registered(REGSAM view = 0) {
    Entries entries;
    for (const wchar_t* key :
         {L"CLSID", L"Media Type", L"SystemFileAssociations", L".mxf", L".gxf", L".dv", L".dif"}) {
        ReadEntries(HKEY_CLASSES_ROOT, key, view, &entries);
    }
    ReadEntries(HKEY_LOCAL_MACHINE, kPropertyHandlers, view, &entries);
    return entries;
}

/// The entries of the one that the other has not.
inline Entries Without(const Entries& all, const Entries& some) {
    Entries rest;
    std::set_difference(all.begin(), all.end(), some.begin(), some.end(),
                        std::inserter(rest, rest.end()));
    return rest;
}

}  // namespace nyx::test
