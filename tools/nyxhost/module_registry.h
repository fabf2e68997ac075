#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace nyx::host {

/// A filter of one of our modules, from the filter categories and the registry.
struct RegisteredFilter {
    GUID clsid;
    std::string name;
    std::string categories;  ///< in words
    std::string server;      ///< path of the DLL
};

/// "32-bit" or "64-bit": the word size of this program and of every module that it can load.
std::string WordSize();

/// Where a loaded library was loaded from, or this program for null.
std::filesystem::path ModulePath(HMODULE module);

/// Whether a DLL of this name is registered for programs of the other word size.
bool IsRegisteredForOthers(const std::string& moduleFile);

/// The merit of a registered DirectShow filter; nothing when it is not registered.
std::optional<DWORD> MeritOf(const CLSID& clsid);

/// Every filter whose DLL has the file name `moduleFile`, ordered by the filter's name. Failure
/// kPlatform.
std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile);

}  // namespace nyx::host
