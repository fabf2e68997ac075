#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/unique_handle.h"

namespace nyx::test {

/// Gives this process an empty current user's registry while in scope, so that tests of settings
/// neither read nor leave values. For one test at a time.
class PrivateUserRegistry {
  public:
    PrivateUserRegistry() {
        UniqueKey key;
        if (CreateKey(HKEY_CURRENT_USER, path_.c_str(), KEY_ALL_ACCESS, &key) ||
            RegOverridePredefKey(HKEY_CURRENT_USER, key.get())) {
            throw std::runtime_error("no private registry");
        }
    }
    ~PrivateUserRegistry() {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    }

    /// Stores a 32-bit value in a key below the current user's.
    void Store(const std::wstring& key, const wchar_t* name, LONG value) const {
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name, REG_DWORD, &value, 4), 0);
    }

    /// A stored 32-bit value, nothing when it is missing or of another kind.
    std::optional<LONG> Stored(const std::wstring& key, const wchar_t* name) const {
        LONG value = 0;
        DWORD size = sizeof(value);
        const LSTATUS error = RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name, RRF_RT_REG_DWORD,
                                           nullptr, &value, &size);
        return error ? std::nullopt : std::optional(value);
    }

  private:
    const std::wstring path_ = L"Software\\nyx-test-" + std::to_wstring(GetCurrentProcessId());
};

/// A new empty folder below the system's temporary one, removed with its files at the end.
struct TemporaryFolder {
    /// `name` becomes part of the folder's name and may hold any letters.
    explicit TemporaryFolder(const std::wstring& name)
        : path(std::filesystem::temp_directory_path() /
               (L"nyx-" + name + L"-" + std::to_wstring(GetCurrentProcessId()))) {
        std::filesystem::create_directory(path);
    }
    /// A file that is still open is a failure; remove_all would try it for hours.
    ~TemporaryFolder() {
        using Entries = std::filesystem::recursive_directory_iterator;
        std::error_code error;
        std::vector<std::filesystem::path> all = {path};
        std::copy(Entries(path, error), Entries(), std::back_inserter(all));
        for (auto one = all.rbegin(); one != all.rend(); ++one) {
            std::filesystem::remove(*one, error);
        }
        EXPECT_FALSE(error) << "a file in it is open: " << path;
    }

    /// The full path of a file in it.
    std::wstring PathOf(const std::wstring& file) const { return (path / file).wstring(); }

    const std::filesystem::path path;
};

}  // namespace nyx::test
