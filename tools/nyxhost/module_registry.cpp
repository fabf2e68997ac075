#include "module_registry.h"

#include <map>
#include <tuple>

#include "engine_text.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr struct {
    const CLSID* clsid;
    const char* words;
} kCategories[] = {{&CLSID_LegacyAmFilterCategory, "DirectShow filters"},
                   {&CLSID_VideoCompressorCategory, "video compressors"}};

std::string InstancesOf(const CLSID& category) {
    return "CLSID\\" + GuidText(category) + "\\Instance";
}

/// A text property of a moniker's object, such as "CLSID"; empty when it is missing.
std::string MonikerText(IMoniker* moniker, const wchar_t* property) {
    ComPtr<IPropertyBag> bag;
    std::string text;
    if (SUCCEEDED(moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag,
                                         reinterpret_cast<void**>(bag.GetAddressOf())))) {
        VARIANT value;
        VariantInit(&value);
        if (SUCCEEDED(bag->Read(property, &value, nullptr)) && value.vt == VT_BSTR) {
            text = Utf8(std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal)));
        }
        VariantClear(&value);
    }
    return text;
}

/// The filters of a list; none for null. Leaves out those without a class.
std::vector<ListedFilter> ReadList(const ComPtr<IEnumMoniker>& list) {
    std::vector<ListedFilter> filters;
    for (const ComPtr<IMoniker>& moniker : ItemsOf<IMoniker>(list)) {
        const std::string name = MonikerText(moniker.Get(), L"FriendlyName");
        ListedFilter filter{name.empty() ? "a filter without a name" : name, {}, moniker};
        if (SUCCEEDED(CLSIDFromString(Wide(MonikerText(moniker.Get(), L"CLSID")).c_str(),
                                      &filter.clsid))) {
            filters.push_back(std::move(filter));
        }
    }
    return filters;
}

}  // namespace

UniqueKey OpenView(HKEY root, const std::string& path, int bits) {
    return OpenKey(root, Wide(path).c_str(),
                   KEY_READ | (bits == 32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY));
}

std::string TextOf(const UniqueKey& key, const wchar_t* value) {
    wchar_t text[MAX_PATH] = {};
    DWORD bytes = sizeof(text);
    RegGetValueW(key.get(), nullptr, value, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return Utf8(text);
}

std::vector<std::string> SubkeysOf(const UniqueKey& key) {
    std::vector<std::string> names;
    wchar_t name[256];  // the longest
    for (DWORD i = 0; RegEnumKeyW(key.get(), i, name, ARRAYSIZE(name)) == ERROR_SUCCESS; ++i) {
        names.push_back(Utf8(name));
    }
    return names;
}

std::vector<std::pair<std::string, std::string>> ValuesOf(const UniqueKey& key) {
    std::vector<std::pair<std::string, std::string>> values;
    wchar_t name[256];
    wchar_t data[16384] = {};  // more than any value of a filter
    const auto* words = reinterpret_cast<const DWORD*>(data);
    for (DWORD i = 0;; ++i) {
        DWORD length = ARRAYSIZE(name);
        DWORD bytes = sizeof(data) - sizeof(wchar_t);
        DWORD type = REG_NONE;
        if (RegEnumValueW(key.get(), i, name, &length, nullptr, &type,
                          reinterpret_cast<BYTE*>(data), &bytes) != ERROR_SUCCESS) {
            return values;
        }
        data[bytes / sizeof(wchar_t)] = L'\0';
        values.emplace_back(Utf8(name), type == REG_SZ      ? Utf8(data)
                                        : type == REG_DWORD ? std::to_string(words[0])
                                                            : Format("%lu bytes: 0x%08lX 0x%08lX",
                                                                     bytes, words[0], words[1]));
    }
}

bool IsNamed(const std::filesystem::path& path, const std::string& file) {
    return _wcsicmp(path.filename().c_str(), Wide(file).c_str()) == 0;
}

std::filesystem::path RegisteredServer(const std::string& clsid, int bits) {
    return Wide(TextOf(OpenView(HKEY_CLASSES_ROOT, "CLSID\\" + clsid + "\\InprocServer32", bits)));
}

std::optional<DWORD> MeritOf(const CLSID& clsid, int bits) {
    const std::string path = InstancesOf(CLSID_LegacyAmFilterCategory) + "\\" + GuidText(clsid);
    DWORD data[1024] = {};  // version, merit, then the pins
    DWORD bytes = sizeof(data);
    const LSTATUS read = RegGetValueW(OpenView(HKEY_CLASSES_ROOT, path, bits).get(), nullptr,
                                      L"FilterData", RRF_RT_REG_BINARY, nullptr, data, &bytes);
    return read == ERROR_SUCCESS && bytes >= 2 * sizeof(DWORD) ? std::optional(data[1])
                                                               : std::nullopt;
}

std::vector<ListedFilter> FiltersIn(const CLSID& category) {
    const auto devices =
        CreateObject<ICreateDevEnum>(CLSID_SystemDeviceEnum, "cannot create the device enumerator");
    ComPtr<IEnumMoniker> list;  // stays null, with S_FALSE, for an empty category
    std::ignore = devices->CreateClassEnumerator(category, list.GetAddressOf(), 0);
    return ReadList(list);
}

std::vector<ListedFilter> DecodersFor(const GUID& subtype) {
    const auto mapper =
        CreateObject<IFilterMapper2>(CLSID_FilterMapper2, "cannot create the filter mapper");
    const GUID types[] = {MEDIATYPE_Video, subtype};
    ComPtr<IEnumMoniker> list;
    Check(mapper->EnumMatchingFilters(list.GetAddressOf(), 0, TRUE, MERIT_DO_NOT_USE + 1, TRUE, 1,
                                      types, nullptr, nullptr, FALSE, TRUE, 0, nullptr, nullptr,
                                      nullptr),
          "cannot query the filter mapper");
    return ReadList(list);
}

ComPtr<IBaseFilter> CreateFilter(const ListedFilter& listed) {
    ComPtr<IBaseFilter> filter;
    const HRESULT created =
        listed.moniker->BindToObject(nullptr, nullptr, IID_PPV_ARGS(filter.GetAddressOf()));
    if (FAILED(created)) {
        throw Failure(ExitCode::kNoEngine,
                      listed.name + " cannot be created: " + CreationText(listed.name, created));
    }
    return filter;
}

std::string WordSize() {
    return Format("%d-bit", kOwnBits);
}

std::filesystem::path ModulePath(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), MAX_PATH));
    return path;
}

std::vector<int> WordSizes() {
    if (sizeof(void*) == 8) {
        return {64, 32};
    }
    BOOL emulated = FALSE;
    return IsWow64Process(GetCurrentProcess(), &emulated) && emulated ? std::vector<int>{32, 64}
                                                                      : std::vector<int>{32};
}

std::filesystem::path RegisteredModule(const std::string& moduleFile, int bits) {
    for (const std::string& clsid :
         SubkeysOf(OpenView(HKEY_CLASSES_ROOT, InstancesOf(CLSID_LegacyAmFilterCategory), bits))) {
        auto server = RegisteredServer(clsid, bits);
        if (IsNamed(server, moduleFile)) {
            return server;
        }
    }
    return {};
}

std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile) {
    std::map<std::string, RegisteredFilter> byName;
    for (const auto& category : kCategories) {
        for (const ListedFilter& listed : FiltersIn(*category.clsid)) {
            const auto server = RegisteredServer(GuidText(listed.clsid));
            if (IsNamed(server, moduleFile)) {
                RegisteredFilter& filter = byName[listed.name];
                const std::string more = filter.categories.empty() ? "" : filter.categories + ", ";
                filter = {.clsid = listed.clsid,
                          .name = listed.name,
                          .categories = more + category.words,
                          .server = Utf8(server.wstring())};
            }
        }
    }
    std::vector<RegisteredFilter> filters;
    for (const auto& [name, filter] : byName) {
        filters.push_back(filter);
    }
    return filters;
}

}  // namespace nyx::host
