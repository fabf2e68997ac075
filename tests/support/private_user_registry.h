#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace nyx::test {

/// Gives this process an empty current user's registry while in scope, so that tests of settings
/// neither find nor leave anything. For one test at a time.
class PrivateUserRegistry {
  public:
    PrivateUserRegistry();
    PrivateUserRegistry(const PrivateUserRegistry&) = delete;
    PrivateUserRegistry& operator=(const PrivateUserRegistry&) = delete;
    ~PrivateUserRegistry();

    /// Stores a 32-bit value in a key below the current user's.
    void Store(const std::wstring& key, const wchar_t* name, LONG value) const;

    /// A stored 32-bit value, nothing when it is missing or of another kind.
    std::optional<LONG> Stored(const std::wstring& key, const wchar_t* name) const;

  private:
    std::wstring path_;
};

}  // namespace nyx::test
