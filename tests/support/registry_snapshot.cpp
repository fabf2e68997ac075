#include "tests/support/registry_snapshot.h"

#include <windows.h>

#include <vector>

#include "tests/support/narrow.h"

namespace nyx::test {
namespace {

void AddValues(RegistrySnapshot* snapshot, HKEY key, const std::wstring& path) {
    static wchar_t name[16384];
    static std::vector<BYTE> data(1 << 20);
    for (DWORD i = 0;; ++i) {
        DWORD nameLength = 16384;
        auto size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, i, name, &nameLength, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            return;
        }
        std::string value = std::to_string(type) + ":";
        value.append(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
        snapshot->emplace(path + std::wstring(name, nameLength), std::move(value));
    }
}

/// Adds a key, which is called `path`, and everything below it.
void Walk(RegistrySnapshot* snapshot, HKEY parent, const wchar_t* name, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, name, 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    snapshot->emplace(path, "");
    AddValues(snapshot, key, path);
    wchar_t child[256];
    for (DWORD i = 0; RegEnumKeyW(key, i, child, 256) == ERROR_SUCCESS; ++i) {
        Walk(snapshot, key, child, path + child + L"\\");
    }
    RegCloseKey(key);
}

}  // namespace

RegistrySnapshot SnapshotOfSoftware() {
    RegistrySnapshot snapshot;
    Walk(&snapshot, HKEY_LOCAL_MACHINE, L"Software", L"HKLM\\Software\\");
    Walk(&snapshot, HKEY_CURRENT_USER, L"", L"HKCU\\");
    return snapshot;
}

RegistrySnapshot SnapshotOfClasses() {
    RegistrySnapshot snapshot;
    Walk(&snapshot, HKEY_CLASSES_ROOT, L"CLSID", L"HKCR\\CLSID\\");
    return snapshot;
}

std::string Difference(const RegistrySnapshot& before, const RegistrySnapshot& after) {
    std::string lines;
    for (const auto& [path, value] : before) {
        const auto other = after.find(path);
        if (other == after.end()) {
            lines += "gone: " + Narrow(path) + "\n";
        } else if (other->second != value) {
            lines += "changed: " + Narrow(path) + "\n";
        }
    }
    for (const auto& entry : after) {
        if (before.count(entry.first) == 0) {
            lines += "new: " + Narrow(entry.first) + "\n";
        }
    }
    return lines;
}

}  // namespace nyx::test
