#include "module_registry.h"

#include <algorithm>
#include <filesystem>

#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr struct {
    const CLSID* clsid;
    const char* words;
} kCategories[] = {{&CLSID_LegacyAmFilterCategory, "DirectShow filters"},
                   {&CLSID_VideoCompressorCategory, "video compressors"}};

/// The DLL that serves a class, empty for none.
std::wstring ServerOf(const std::wstring& clsid) {
    wchar_t path[MAX_PATH] = {};
    DWORD bytes = sizeof(path);
    RegGetValueW(HKEY_CLASSES_ROOT, (L"CLSID\\" + clsid + L"\\InprocServer32").c_str(), nullptr,
                 RRF_RT_REG_SZ, nullptr, path, &bytes);
    return path;
}

}  // namespace

std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile) {
    const auto devices =
        CreateObject<ICreateDevEnum>(CLSID_SystemDeviceEnum, "no device enumerator");
    std::vector<RegisteredFilter> filters;
    for (const auto& category : kCategories) {
        ComPtr<IEnumMoniker> monikers;
        ComPtr<IMoniker> moniker;
        // S_FALSE, with no enumerator, tells of an empty category.
        const HRESULT listed =
            devices->CreateClassEnumerator(*category.clsid, monikers.GetAddressOf(), 0);
        while (listed == S_OK &&
               monikers->Next(1, moniker.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
            const std::wstring id = Wide(MonikerText(moniker.Get(), L"CLSID"));
            const std::filesystem::path server(ServerOf(id));
            RegisteredFilter filter{
                {}, FriendlyName(moniker.Get()), category.words, Utf8(server.wstring())};
            if (_wcsicmp(server.filename().c_str(), Wide(moduleFile).c_str()) != 0 ||
                FAILED(CLSIDFromString(id.c_str(), &filter.clsid))) {
                continue;
            }
            const auto known = std::find_if(
                filters.begin(), filters.end(),
                [&filter](const RegisteredFilter& other) { return other.clsid == filter.clsid; });
            if (known != filters.end()) {
                known->categories += ", " + filter.categories;
            } else {
                filters.push_back(std::move(filter));
            }
        }
    }
    std::sort(filters.begin(), filters.end(),
              [](const RegisteredFilter& a, const RegisteredFilter& b) { return a.name < b.name; });
    return filters;
}

}  // namespace nyx::host
