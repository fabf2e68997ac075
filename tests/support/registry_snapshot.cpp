#include "tests/support/registry_snapshot.h"

#include <windows.h>

#include <vector>

#include "tests/support/narrow.h"

namespace nyx::test {
namespace {

/// Walks a key and everything below it.
class Walker {
  public:
    explicit Walker(RegistrySnapshot* snapshot) : snapshot_(snapshot) {}

    /// `path` names the key in the entries; the key is opened below `parent` by `name`.
    void Walk(HKEY parent, const wchar_t* name, const std::wstring& path) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(parent, name, 0, KEY_READ, &key) != ERROR_SUCCESS) {
            return;
        }
        snapshot_->emplace(path, "");
        AddValues(key, path);
        wchar_t child[256];
        for (DWORD i = 0, length = 256; RegEnumKeyExW(key, i, child, &length, nullptr, nullptr,
                                                      nullptr, nullptr) == ERROR_SUCCESS;
             ++i, length = 256) {
            Walk(key, child, path + child + L"\\");
        }
        RegCloseKey(key);
    }

  private:
    void AddValues(HKEY key, const std::wstring& path) {
        for (DWORD i = 0;; ++i) {
            auto nameLength = static_cast<DWORD>(name_.size());
            auto size = static_cast<DWORD>(data_.size());
            DWORD type = 0;
            const LONG result = RegEnumValueW(key, i, name_.data(), &nameLength, nullptr, &type,
                                              data_.data(), &size);
            if (result == ERROR_MORE_DATA) {
                data_.resize(data_.size() * 2);
                --i;
                continue;
            }
            if (result != ERROR_SUCCESS) {
                return;
            }
            std::string value = std::to_string(type) + ":";
            value.append(data_.begin(), data_.begin() + static_cast<std::ptrdiff_t>(size));
            snapshot_->emplace(path + std::wstring(name_.data(), nameLength), std::move(value));
        }
    }

    RegistrySnapshot* snapshot_;
    std::vector<wchar_t> name_ = std::vector<wchar_t>(16384);
    std::vector<BYTE> data_ = std::vector<BYTE>(1 << 16);
};

}  // namespace

RegistrySnapshot SnapshotOfSoftware() {
    RegistrySnapshot snapshot;
    Walker walker(&snapshot);
    walker.Walk(HKEY_LOCAL_MACHINE, L"Software", L"HKLM\\Software\\");
    walker.Walk(HKEY_CURRENT_USER, L"", L"HKCU\\");
    return snapshot;
}

RegistrySnapshot SnapshotOfClasses() {
    RegistrySnapshot snapshot;
    Walker(&snapshot).Walk(HKEY_CLASSES_ROOT, L"CLSID", L"HKCR\\CLSID\\");
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
