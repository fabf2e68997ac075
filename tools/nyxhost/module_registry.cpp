#include "module_registry.h"

#include <algorithm>
#include <tuple>

#include "engine_text.h"
#include "platform/unique_handle.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr struct {
    const CLSID* clsid;
    const char* words;
} kCategories[] = {{&CLSID_LegacyAmFilterCategory, "DirectShow filters"},
                   {&CLSID_VideoCompressorCategory, "video compressors"}};

bool IsNamed(const std::filesystem::path& server, const std::string& file) {
    return _wcsicmp(server.filename().c_str(), Wide(file).c_str()) == 0;
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

/// The DLL of a class below the key `classes`; empty when the class is not registered.
std::filesystem::path ServerOf(HKEY classes, const std::wstring& clsid) {
    return RegisteredText(classes, clsid + L"\\InprocServer32");
}

}  // namespace

std::wstring RegisteredText(HKEY parent, const std::wstring& key) {
    wchar_t text[MAX_PATH] = {};
    DWORD bytes = sizeof(text);
    RegGetValueW(parent, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return text;
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
    return Format("%zu-bit", sizeof(void*) * 8);
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
    const REGSAM view = KEY_READ | (bits == 32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY);
    const UniqueKey classes = OpenKey(HKEY_CLASSES_ROOT, L"CLSID", view);
    const std::wstring instances = Wide(GuidText(CLSID_LegacyAmFilterCategory)) + L"\\Instance";
    const UniqueKey filters = OpenKey(classes.get(), instances.c_str(), view);
    wchar_t clsid[64];
    for (DWORD i = 0; RegEnumKeyW(filters.get(), i, clsid, ARRAYSIZE(clsid)) == ERROR_SUCCESS;
         ++i) {
        auto server = ServerOf(classes.get(), clsid);
        if (IsNamed(server, moduleFile)) {
            return server;
        }
    }
    return {};
}

std::vector<RegisteredFilter> FindFilters(const std::string& moduleFile) {
    const UniqueKey classes = OpenKey(HKEY_CLASSES_ROOT, L"CLSID", KEY_READ);
    std::vector<RegisteredFilter> filters;
    for (const auto& category : kCategories) {
        for (const ListedFilter& listed : FiltersIn(*category.clsid)) {
            const auto server = ServerOf(classes.get(), Wide(GuidText(listed.clsid)));
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
