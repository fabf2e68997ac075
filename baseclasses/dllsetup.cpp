#include "baseclasses/dllsetup.h"

#include <memory>
#include <new>

#include "baseclasses/dllentry.h"
#include "platform/com.h"
#include "platform/system.h"

namespace {

constexpr HRESULT kNotRegistered = static_cast<HRESULT>(0x80070002);  // ERROR_FILE_NOT_FOUND
constexpr DWORD kMaxPath = 32768;  // characters, the system's limit with its terminator
constexpr int kGuidChars = 39;     // of "{...}" with its terminator
constexpr WCHAR kClsidPrefix[] = L"CLSID\\";
constexpr WCHAR kServer[] = L"\\InprocServer32";
constexpr size_t kPrefixChars = ARRAYSIZE(kClsidPrefix) - 1;

/// A class's key below HKEY_CLASSES_ROOT, "CLSID\{...}", and a subkey of it.
class ClassKeyName {
  public:
    explicit ClassKeyName(const CLSID& clsid, const WCHAR* subkey = L"") {
        wcscpy(name_, kClsidPrefix);
        StringFromGUID2(clsid, name_ + kPrefixChars, kGuidChars);
        wcscat(name_, subkey);
    }
    const WCHAR* get() const { return name_; }

  private:
    WCHAR name_[kPrefixChars + kGuidChars + ARRAYSIZE(kServer)];
};

HRESULT GetModulePath(std::unique_ptr<WCHAR[]>& path) {
    path.reset(new (std::nothrow) WCHAR[kMaxPath]);
    CheckPointer(path, E_OUTOFMEMORY);
    const DWORD length = GetModuleFileNameW(g_hInst, path.get(), kMaxPath);
    if (length == 0) {
        return nyx::LastError();
    }
    return length < kMaxPath ? S_OK : HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
}

HRESULT RegisterClass(const CFactoryTemplate& factory, const WCHAR* path) {
    const struct {
        const WCHAR *subkey, *name, *text;  // no name: the key's default value
    } values[] = {
        {L"", nullptr, factory.m_Name},
        {kServer, nullptr, path},
        {kServer, L"ThreadingModel", L"Both"},
    };
    for (const auto& [subkey, name, text] : values) {
        const auto bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(WCHAR));
        const LSTATUS status =
            RegSetKeyValueW(HKEY_CLASSES_ROOT, ClassKeyName(*factory.m_ClsID, subkey).get(), name,
                            REG_SZ, text, bytes);
        if (status != ERROR_SUCCESS) {
            return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
        }
    }
    return S_OK;
}

HRESULT RegisterAllClasses() {
    std::unique_ptr<WCHAR[]> path;
    HRESULT hr = GetModulePath(path);
    for (int i = 0; i < g_cTemplates && SUCCEEDED(hr); ++i) {
        hr = RegisterClass(g_Templates[i], path.get());
    }
    return hr;
}

HRESULT UnregisterAllClasses() {
    for (int i = 0; i < g_cTemplates; ++i) {
        const LSTATUS status =
            RegDeleteTreeW(HKEY_CLASSES_ROOT, ClassKeyName(*g_Templates[i].m_ClsID).get());
        if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) {
            return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
        }
    }
    return S_OK;
}

/// Removes a filter from a category of the mapper, null for the default one, and with `bRegister`
/// adds it again. In the default category a missing filter is no failure.
HRESULT SetupFilter(const AMOVIESETUP_FILTER& setup, const CLSID* category, IFilterMapper2* mapper,
                    BOOL bRegister) {
    const WCHAR* const instance = category ? setup.strName : nullptr;
    HRESULT hr = mapper->UnregisterFilter(category, instance, *setup.clsID);
    if (bRegister) {
        REGFILTER2 record{};
        record.dwVersion = 1;
        record.dwMerit = setup.dwMerit;
        record.cPins = setup.nPins;
        record.rgPins = setup.lpPin;
        hr = mapper->RegisterFilter(*setup.clsID, setup.strName, nullptr, category, instance,
                                    &record);
    }
    return hr == kNotRegistered && !category ? S_OK : hr;
}

enum class Category { kDefault, kOwn };

/// Applies SetupFilter to each template with setup data for such a category, up to the first
/// failure.
HRESULT SetupAllFilters(Category category, IFilterMapper2* mapper, BOOL bRegister) {
    HRESULT hr = S_OK;
    for (int i = 0; i < g_cTemplates && SUCCEEDED(hr); ++i) {
        const AMOVIESETUP_FILTER* const setup = g_Templates[i].m_pAMovieSetup_Filter;
        if (setup && (category == Category::kDefault || setup->clsCategory)) {
            hr = SetupFilter(*setup, category == Category::kOwn ? setup->clsCategory : nullptr,
                             mapper, bRegister);
        }
    }
    return hr;
}

HRESULT SetupAll(BOOL bRegister) {
    nyx::ComPtr<IFilterMapper2> mapper;
    HRESULT hr = bRegister ? RegisterAllClasses() : S_OK;
    if (SUCCEEDED(hr)) {
        hr = CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IFilterMapper2, reinterpret_cast<void**>(mapper.GetAddressOf()));
    }
    if (SUCCEEDED(hr)) {
        hr = SetupAllFilters(Category::kDefault, mapper.Get(), bRegister);
    }
    if (SUCCEEDED(hr) && !bRegister) {
        hr = UnregisterAllClasses();
    }
    return SUCCEEDED(hr) ? SetupAllFilters(Category::kOwn, mapper.Get(), bRegister) : hr;
}

}  // namespace

STDAPI AMovieDllRegisterServer2(BOOL bRegister) {
    // The caller's thread may be in no apartment yet, or in one of the other kind.
    const HRESULT initialised = CoInitialize(nullptr);
    const HRESULT hr = SetupAll(bRegister);
    if (SUCCEEDED(initialised)) {
        CoUninitialize();
    }
    return hr;
}
