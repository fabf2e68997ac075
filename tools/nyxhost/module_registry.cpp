#include "module_registry.h"

#include <algorithm>
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

bool IsNamed(const std::filesystem::path& path, const std::string& file) {
    return _wcsicmp(path.filename().c_str(), Wide(file).c_str()) == 0;
}

std::filesystem::path RegisteredServer(const std::string& clsid, int bits) {
    return Wide(RegisteredText("CLSID\\" + clsid + "\\InprocServer32", nullptr, bits));
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
    std::vector<RegisteredFilter> filters;
    for (const auto& category : kCategories) {
        for (const ListedFilter& listed : FiltersIn(*category.clsid)) {
            const auto server = RegisteredServer(GuidText(listed.clsid));
            if (!IsNamed(server, moduleFile)) {
                continue;
            }
            RegisteredFilter filter{.clsid = listed.clsid,
                                    .name = listed.name,
                                    .categories = category.words,
                                    .server = Utf8(server.wstring())};
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
