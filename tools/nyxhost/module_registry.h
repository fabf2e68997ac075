#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "com.h"

namespace nyx::host {

/// A filter in one of the system's lists.
struct ListedFilter {
    std::string name;
    CLSID clsid;
    ComPtr<IMoniker> moniker;
};

/// The filters of a category, and those that intelligent connect tries for a video subtype: those
/// that register it, with a merit above MERIT_DO_NOT_USE. Failure kPlatform.
std::vector<ListedFilter> FiltersIn(const CLSID& category);
std::vector<ListedFilter> DecodersFor(const GUID& subtype);

/// Creates a filter. Failure kNoEngine, with the reason.
ComPtr<IBaseFilter> CreateFilter(const ListedFilter& listed);

/// A filter of one of our modules, from the filter categories and the registry.
struct RegisteredFilter {
    GUID clsid;
    std::string name;
    std::string categories;  ///< in words
    std::string server;      ///< path of the DLL
};

/// "32-bit" or "64-bit": the word size of this program and of every module that it can load.
std::string WordSize();

/// The unnamed value of a registry key below `parent`; empty without one.
std::wstring RegisteredText(HKEY parent, const std::wstring& key);

/// Where a loaded library was loaded from, or this program for null.
std::filesystem::path ModulePath(HMODULE module);

/// The word sizes of programs that this system runs, this program's own first.
std::vector<int> WordSizes();

/// Where the DLL of a file name is registered for programs of one of these word sizes; empty where
/// it is not.
std::filesystem::path RegisteredModule(const std::string& moduleFile, int bits);

/// Every filter whose DLL has the file name `moduleFile`, ordered by the filter's name. Failure
/// kPlatform.
std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile);

}  // namespace nyx::host
