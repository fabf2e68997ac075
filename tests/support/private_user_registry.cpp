#include "tests/support/private_user_registry.h"

#include <stdexcept>

namespace nyx::test {

PrivateUserRegistry::PrivateUserRegistry()
    : path_(L"Software\\nyx-test-" + std::to_wstring(GetCurrentProcessId())) {
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &key, nullptr) != ERROR_SUCCESS ||
        RegOverridePredefKey(HKEY_CURRENT_USER, key) != ERROR_SUCCESS) {
        throw std::runtime_error("no private registry");
    }
    RegCloseKey(key);
}

PrivateUserRegistry::~PrivateUserRegistry() {
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
}

void PrivateUserRegistry::Store(const std::wstring& key, const wchar_t* name, LONG value) const {
    if (RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name, REG_DWORD, &value, sizeof(value)) !=
        ERROR_SUCCESS) {
        throw std::runtime_error("cannot store a value");
    }
}

std::optional<LONG> PrivateUserRegistry::Stored(const std::wstring& key,
                                                const wchar_t* name) const {
    LONG value = 0;
    DWORD size = sizeof(value);
    return RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name, RRF_RT_REG_DWORD, nullptr, &value,
                        &size) == ERROR_SUCCESS
               ? std::optional<LONG>(value)
               : std::nullopt;
}

}  // namespace nyx::test
