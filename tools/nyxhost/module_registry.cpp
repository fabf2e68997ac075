#include "module_registry.h"

#include <algorithm>

#include "graph_tools.h"
#include "platform/unique_handle.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr struct {
    const CLSID* clsid;
    const char* words;
} kCategories[] = {{&CLSID_LegacyAmFilterCategory, "DirectShow filters"},
                   {&CLSID_VideoCompressorCategory, "video compressors"}};

/// The DLL of a class below the key `classes`; empty when the class is not registered.
std::filesystem::path ServerOf(HKEY classes, const std::wstring& clsid) {
    wchar_t path[MAX_PATH] = {};
    DWORD bytes = sizeof(path);
    RegGetValueW(classes, (clsid + L"\\InprocServer32").c_str(), nullptr, RRF_RT_REG_SZ, nullptr,
                 path, &bytes);
    return path;
}

bool IsNamed(const std::filesystem::path& server, const std::string& file) {
    return _wcsicmp(server.filename().c_str(), Wide(file).c_str()) == 0;
}

}  // namespace

std::string WordSize() {
    return Format("%zu-bit", sizeof(void*) * 8);
}

std::filesystem::path ModulePath(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), MAX_PATH));
    return path;
}

bool IsRegisteredForOthers(const std::string& moduleFile) {
    constexpr REGSAM kTheirs = KEY_READ | (sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY);
    const UniqueKey classes = OpenKey(HKEY_CLASSES_ROOT, L"CLSID", kTheirs);
    const std::wstring instances = Wide(GuidText(CLSID_LegacyAmFilterCategory)) + L"\\Instance";
    const UniqueKey filters = OpenKey(classes.get(), instances.c_str(), kTheirs);
    wchar_t clsid[64];
    for (DWORD i = 0; RegEnumKeyW(filters.get(), i, clsid, ARRAYSIZE(clsid)) == ERROR_SUCCESS;
         ++i) {
        if (IsNamed(ServerOf(classes.get(), clsid), moduleFile)) {
            return true;
        }
    }
    return false;
}

std::optional<DWORD> MeritOf(const CLSID& clsid) {
    const std::wstring key =
        Wide("CLSID\\" + GuidText(CLSID_LegacyAmFilterCategory) + "\\Instance\\" + GuidText(clsid));
    DWORD data[1024] = {};  // version, merit, then the pins
    DWORD bytes = sizeof(data);
    const LSTATUS read = RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), L"FilterData",
                                      RRF_RT_REG_BINARY, nullptr, data, &bytes);
    return read == ERROR_SUCCESS && bytes >= 2 * sizeof(DWORD) ? std::optional(data[1])
                                                               : std::nullopt;
}

std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile) {
    const UniqueKey classes = OpenKey(HKEY_CLASSES_ROOT, L"CLSID", KEY_READ);
    std::vector<RegisteredFilter> filters;
    for (const auto& category : kCategories) {
        for (const ComPtr<IMoniker>& moniker : FiltersOf(*category.clsid)) {
            const std::wstring id = Wide(MonikerText(moniker.Get(), L"CLSID"));
            const std::filesystem::path server = ServerOf(classes.get(), id);
            RegisteredFilter filter{.clsid = {},
                                    .name = FriendlyName(moniker.Get()),
                                    .categories = category.words,
                                    .server = Utf8(server.wstring())};
            if (!IsNamed(server, moduleFile) ||
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
