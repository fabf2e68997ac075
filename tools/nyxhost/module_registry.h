#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace nyx::host {

/// The file that makes a COM server ours.
inline constexpr wchar_t kModuleFile[] = L"nyxcodecs.dll";

/// One entry of an object in a filter category.
struct CategoryEntry {
    std::string category;           ///< in words
    std::string name;               ///< friendly name in that category
    std::optional<DWORD> merit;     ///< missing when the entry's data cannot be read
    std::vector<std::string> pins;  ///< "in Input: video/Q210"
};

/// One COM class of the module, as the registry and the filter categories have it.
struct RegisteredClass {
    GUID clsid;
    std::string name;
    std::string server;  ///< path of the DLL as registered
    std::string threadingModel;
    std::vector<CategoryEntry> categories;  ///< empty for objects that are no filters
    HRESULT creation;                       ///< of an attempt to create it
};

/// Every class whose in-process server is a file named kModuleFile, ordered by name. Each one is
/// created once and released again.
std::vector<RegisteredClass> FindModuleClasses();

}  // namespace nyx::host
