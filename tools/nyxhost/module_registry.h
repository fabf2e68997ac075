#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace nyx::host {

/// A filter of a module of ours, as the filter categories and the registry have it.
struct RegisteredFilter {
    GUID clsid;
    std::string name;
    std::string categories;  ///< in words
    std::string server;      ///< path of the DLL
};

/// "32-bit" or "64-bit": what this program is, and every module and engine that it can load.
std::string WordSize();

/// Whether such a module is registered for the programs of the other word size.
bool IsRegisteredForOthers(const std::string& moduleFile);

/// The merit that a filter is registered with among the DirectShow filters, nothing for one that is
/// not there.
std::optional<DWORD> MeritOf(const CLSID& clsid);

/// Every filter whose in-process server is a file of that name, ordered by its own name.
std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile);

}  // namespace nyx::host
