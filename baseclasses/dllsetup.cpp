#include "baseclasses/dllsetup.h"

#include <memory>
#include <new>

#include "baseclasses/dllentry.h"

namespace {

constexpr HRESULT kNotRegistered = static_cast<HRESULT>(0x80070002);  // ERROR_FILE_NOT_FOUND
constexpr DWORD kLongestPath = 32768;  // characters, the system's limit with its terminator
constexpr int kGuidChars = 39;         // of "{...}" with its terminator
constexpr WCHAR kClsidPrefix[] = L"CLSID\\";
constexpr size_t kPrefixChars = ARRAYSIZE(kClsidPrefix) - 1;

/// "CLSID\{...}": a class's key below HKEY_CLASSES_ROOT.
class ClassKeyName {
  public:
    explicit ClassKeyName(const CLSID& clsid) {
        wcscpy(name_, kClsidPrefix);
        StringFromGUID2(clsid, name_ + kPrefixChars, kGuidChars);
    }
    const WCHAR* get() const { return name_; }

  private:
    WCHAR name_[kPrefixChars + kGuidChars];
};

class RegistryKey {
  public:
    RegistryKey() = default;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() {
        if (key_) {
            RegCloseKey(key_);
        }
    }

    HRESULT Create(HKEY parent, const WCHAR* name) {
        return HRESULT_FROM_WIN32(static_cast<DWORD>(
            RegCreateKeyExW(parent, name, 0, nullptr, 0, KEY_WRITE, nullptr, &key_, nullptr)));
    }
    /// `name` null: the key's default value.
    HRESULT SetString(const WCHAR* name, const WCHAR* text) {
        const DWORD bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(WCHAR));
        return HRESULT_FROM_WIN32(static_cast<DWORD>(
            RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), bytes)));
    }
    HKEY get() const { return key_; }

  private:
    HKEY key_ = nullptr;
};

HRESULT GetModulePath(std::unique_ptr<WCHAR[]>& path) {
    path.reset(new (std::nothrow) WCHAR[kLongestPath]);
    CheckPointer(path, E_OUTOFMEMORY);
    const DWORD length = GetModuleFileNameW(g_hInst, path.get(), kLongestPath);
    if (length == 0) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    return length < kLongestPath ? S_OK : HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
}

HRESULT RegisterClass(const CFactoryTemplate& factory, const WCHAR* path) {
    RegistryKey classKey;
    RegistryKey serverKey;
    HRESULT hr = classKey.Create(HKEY_CLASSES_ROOT, ClassKeyName(*factory.m_ClsID).get());
    if (SUCCEEDED(hr)) {
        hr = classKey.SetString(nullptr, factory.m_Name);
    }
    if (SUCCEEDED(hr)) {
        hr = serverKey.Create(classKey.get(), L"InprocServer32");
    }
    if (SUCCEEDED(hr)) {
        hr = serverKey.SetString(nullptr, path);
    }
    return SUCCEEDED(hr) ? serverKey.SetString(L"ThreadingModel", L"Both") : hr;
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

/// Takes a filter out of the mapper and, when `bRegister`, puts it in afresh. One that was not
/// there is no failure.
HRESULT SetupFilter(const AMOVIESETUP_FILTER& setup, IFilterMapper2* mapper, BOOL bRegister) {
    HRESULT hr = mapper->UnregisterFilter(nullptr, nullptr, *setup.clsID);
    if (bRegister) {
        REGFILTER2 record{};
        record.dwVersion = 1;
        record.dwMerit = setup.dwMerit;
        record.cPins = setup.nPins;
        record.rgPins = setup.lpPin;
        hr =
            mapper->RegisterFilter(*setup.clsID, setup.strName, nullptr, nullptr, nullptr, &record);
    }
    return hr == kNotRegistered ? S_OK : hr;
}

/// Applies SetupFilter to each template that has setup data, up to the first failure.
HRESULT SetupAllFilters(BOOL bRegister) {
    IFilterMapper2* mapper = nullptr;
    HRESULT hr = CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                                  IID_IFilterMapper2, reinterpret_cast<void**>(&mapper));
    for (int i = 0; i < g_cTemplates && SUCCEEDED(hr); ++i) {
        if (const AMOVIESETUP_FILTER* const setup = g_Templates[i].m_pAMovieSetup_Filter) {
            hr = SetupFilter(*setup, mapper, bRegister);
        }
    }
    ReleaseInterface(mapper);
    return hr;
}

HRESULT SetupAllFiltersWithCom(BOOL bRegister) {
    const HRESULT initialised = CoInitialize(nullptr);
    const HRESULT hr = SetupAllFilters(bRegister);
    if (SUCCEEDED(initialised)) {
        CoUninitialize();
    }
    return hr;
}

}  // namespace

STDAPI AMovieDllRegisterServer2(BOOL bRegister) {
    if (bRegister) {
        const HRESULT hr = RegisterAllClasses();
        return SUCCEEDED(hr) ? SetupAllFiltersWithCom(TRUE) : hr;
    }
    const HRESULT hr = SetupAllFiltersWithCom(FALSE);
    return SUCCEEDED(hr) ? UnregisterAllClasses() : hr;
}
