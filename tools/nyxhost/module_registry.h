#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "com.h"
#include "platform/unique_handle.h"

namespace nyx::host {

/// The word size of this program and of every module that it can load.
constexpr int kOwnBits = sizeof(void*) * 8;

inline constexpr const char* kCodecModule = "nyxcodecs.dll";
inline constexpr const char* kSourceModule = "nyxsource.dll";
inline constexpr const char* kModules[] = {kCodecModule, kSourceModule};

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

/// Opens a key for reading in the view of programs of a word size; null where it is missing.
UniqueKey OpenView(HKEY root, const std::string& path, int bits = kOwnBits);

/// A text of an open key, by default its unnamed value; empty without one.
std::string TextOf(const UniqueKey& key, const wchar_t* value = nullptr);

/// What an open key has, in the registry's order; nothing for null. Values are names and texts; a
/// value that is neither text nor number gives its size and its first words.
std::vector<std::string> SubkeysOf(const UniqueKey& key);
std::vector<std::pair<std::string, std::string>> ValuesOf(const UniqueKey& key);

/// Whether a path ends with this file name.
bool IsNamed(const std::filesystem::path& path, const std::string& file);

/// The DLL of a class, in the view of a word size; empty when the class is not registered.
std::filesystem::path RegisteredServer(const std::string& clsid, int bits = kOwnBits);

/// Where a loaded library was loaded from, or this program for null.
std::filesystem::path ModulePath(HMODULE module);

/// The word sizes of programs that this system runs, this program's own first.
std::vector<int> WordSizes();

/// Where the DLL of a file name is registered for programs of one of these word sizes; empty where
/// it is not.
std::filesystem::path RegisteredModule(const std::string& moduleFile, int bits);

/// The merit of a registered DirectShow filter, in the view of a word size.
std::optional<DWORD> MeritOf(const CLSID& clsid, int bits = kOwnBits);

/// Every filter whose DLL has the file name `moduleFile`, ordered by the filter's name. Failure
/// kPlatform.
std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile);

}  // namespace nyx::host
