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

/// Applies `setup` to each template that has setup data, up to the first failure.
template <class Mapper>
HRESULT ForEachFilter(HRESULT(WINAPI* setup)(const AMOVIESETUP_FILTER*, Mapper*, BOOL),
                      Mapper* mapper, BOOL bRegister) {
    HRESULT hr = S_OK;
    for (int i = 0; i < g_cTemplates && SUCCEEDED(hr); ++i) {
        if (const AMOVIESETUP_FILTER* const data = g_Templates[i].m_pAMovieSetup_Filter) {
            hr = setup(data, mapper, bRegister);
        }
    }
    mapper->Release();
    return hr;
}

HRESULT SetupAllFilters(BOOL bRegister) {
    void* mapper = nullptr;
    HRESULT hr = CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                                  IID_IFilterMapper2, &mapper);
    if (SUCCEEDED(hr)) {
        return ForEachFilter(AMovieSetupRegisterFilter2, static_cast<IFilterMapper2*>(mapper),
                             bRegister);
    }
    hr = CoCreateInstance(CLSID_FilterMapper, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper,
                          &mapper);
    if (SUCCEEDED(hr)) {
        return ForEachFilter(AMovieSetupRegisterFilter, static_cast<IFilterMapper*>(mapper),
                             bRegister);
    }
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

HRESULT MissingIsFine(HRESULT hr) {
    return hr == kNotRegistered ? S_OK : hr;
}

HRESULT RegisterPins(const AMOVIESETUP_FILTER& filter, IFilterMapper* mapper) {
    HRESULT hr = S_OK;
    for (UINT i = 0; i < filter.nPins && SUCCEEDED(hr); ++i) {
        const AMOVIESETUP_PIN& pin = filter.lpPin[i];
        const CLSID peer = pin.clsConnectsToFilter ? *pin.clsConnectsToFilter : CLSID_NULL;
        hr = mapper->RegisterPin(*filter.clsID, pin.strName, pin.bRendered, pin.bOutput, pin.bZero,
                                 pin.bMany, peer, pin.strConnectsToPin);
        for (UINT type = 0; type < pin.nMediaTypes && SUCCEEDED(hr); ++type) {
            hr = mapper->RegisterPinType(*filter.clsID, pin.strName,
                                         *pin.lpMediaType[type].clsMajorType,
                                         *pin.lpMediaType[type].clsMinorType);
        }
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

STDAPI AMovieSetupRegisterFilter2(const AMOVIESETUP_FILTER* psetupdata, IFilterMapper2* pIFM2,
                                  BOOL bRegister) {
    CheckPointer(psetupdata, S_FALSE);
    CheckPointer(pIFM2, E_POINTER);
    const HRESULT removed = pIFM2->UnregisterFilter(nullptr, nullptr, *psetupdata->clsID);
    if (!bRegister) {
        return MissingIsFine(removed);
    }
    REGFILTER2 record{};
    record.dwVersion = 1;
    record.dwMerit = psetupdata->dwMerit;
    record.cPins = psetupdata->nPins;
    record.rgPins = psetupdata->lpPin;
    return MissingIsFine(pIFM2->RegisterFilter(*psetupdata->clsID, psetupdata->strName, nullptr,
                                               nullptr, nullptr, &record));
}

STDAPI AMovieSetupRegisterFilter(const AMOVIESETUP_FILTER* psetupdata, IFilterMapper* pIFM,
                                 BOOL bRegister) {
    CheckPointer(psetupdata, S_FALSE);
    CheckPointer(pIFM, E_POINTER);
    const HRESULT removed = pIFM->UnregisterFilter(*psetupdata->clsID);
    if (!bRegister) {
        return MissingIsFine(removed);
    }
    const HRESULT hr =
        pIFM->RegisterFilter(*psetupdata->clsID, psetupdata->strName, psetupdata->dwMerit);
    return MissingIsFine(SUCCEEDED(hr) ? RegisterPins(*psetupdata, pIFM) : hr);
}
