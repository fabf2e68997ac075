#include <gtest/gtest.h>

#include <string>

#include "tests/baseclasses/passthrough.h"

namespace nyx::test {
namespace {

std::wstring KeyOf(const CLSID& clsid) {
    WCHAR text[39];
    StringFromGUID2(clsid, text, ARRAYSIZE(text));
    return std::wstring(L"CLSID\\") + text;
}

/// A string below HKEY_CLASSES_ROOT; "(none)" when it is not there.
std::wstring ReadText(const std::wstring& key, const WCHAR* value) {
    WCHAR text[1024];
    DWORD size = sizeof(text);
    return RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), value, RRF_RT_REG_SZ, nullptr, text,
                        &size) == ERROR_SUCCESS
               ? text
               : L"(none)";
}

/// Whether the mapper knows a filter that takes YUY2 by the name of the test filter.
bool MapperFindsTheFilter() {
    ComPtr<IFilterMapper2> mapper;
    EXPECT_EQ(CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                               IID_IFilterMapper2, mapper.PutVoid()),
              S_OK);
    const GUID type[] = {MEDIATYPE_Video, MEDIASUBTYPE_YUY2};
    ComPtr<IEnumMoniker> monikers;
    mapper->EnumMatchingFilters(monikers.Put(), 0, TRUE, MERIT_DO_NOT_USE, TRUE, 1, type, nullptr,
                                nullptr, FALSE, FALSE, 0, nullptr, nullptr, nullptr);
    bool found = false;
    ComPtr<IMoniker> moniker;
    while (monikers && monikers->Next(1, moniker.Put(), nullptr) == S_OK) {
        ComPtr<IPropertyBag> bag;
        VARIANT name;
        VariantInit(&name);
        if (moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag, bag.PutVoid()) == S_OK &&
            bag->Read(L"FriendlyName", &name, nullptr) == S_OK) {
            found = found || std::wstring(name.bstrVal) == g_Templates[0].m_Name;
        }
        VariantClear(&name);
    }
    return found;
}

TEST(DllSetup, RegisteringWritesServersAndFiltersAndUnregisteringTakesThemAway) {
    ASSERT_EQ(AMovieDllRegisterServer2(TRUE), S_OK);
    WCHAR program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    for (int i = 0; i < g_cTemplates; ++i) {
        const std::wstring key = KeyOf(*g_Templates[i].m_ClsID);
        EXPECT_EQ(ReadText(key, nullptr), g_Templates[i].m_Name);
        EXPECT_EQ(ReadText(key + L"\\InprocServer32", nullptr), program);
        EXPECT_EQ(ReadText(key + L"\\InprocServer32", L"ThreadingModel"), L"Both");
    }
    EXPECT_TRUE(MapperFindsTheFilter());
    EXPECT_EQ(AMovieDllRegisterServer2(TRUE), S_OK) << "again";

    EXPECT_EQ(AMovieDllRegisterServer2(FALSE), S_OK);
    for (int i = 0; i < g_cTemplates; ++i) {
        EXPECT_EQ(ReadText(KeyOf(*g_Templates[i].m_ClsID), nullptr), L"(none)");
    }
    EXPECT_FALSE(MapperFindsTheFilter());
    EXPECT_EQ(AMovieDllRegisterServer2(FALSE), S_OK) << "again";
}

/// The platform's first mapper, as far as registering goes; writes down what it is told.
class FirstMapper : public TestObject<IFilterMapper> {
  public:
    std::vector<std::wstring> calls;
    HRESULT pinTypeResult = S_OK;

    HRESULT STDMETHODCALLTYPE RegisterFilter(CLSID, LPCWSTR name, DWORD merit) override {
        return Note(L"filter " + std::wstring(name) + L" " + std::to_wstring(merit));
    }
    HRESULT STDMETHODCALLTYPE RegisterFilterInstance(CLSID, LPCWSTR, CLSID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterPin(CLSID, LPCWSTR name, BOOL, BOOL output, BOOL, BOOL, CLSID,
                                          LPCWSTR) override {
        return Note(L"pin " + std::wstring(name) + (output ? L" out" : L" in"));
    }
    HRESULT STDMETHODCALLTYPE RegisterPinType(CLSID, LPCWSTR name, CLSID major,
                                              CLSID sub) override {
        const bool right = major == MEDIATYPE_Video && sub == MEDIASUBTYPE_YUY2;
        Note(L"type " + std::wstring(name) + (right ? L" YUY2" : L" ?"));
        return pinTypeResult;
    }
    HRESULT STDMETHODCALLTYPE UnregisterFilter(CLSID) override {
        Note(L"unregister");
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    HRESULT STDMETHODCALLTYPE UnregisterFilterInstance(CLSID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnregisterPin(CLSID, LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumMatchingFilters(IEnumRegFilters**, DWORD, BOOL, CLSID, CLSID,
                                                  BOOL, BOOL, CLSID, CLSID) override {
        return E_NOTIMPL;
    }

  private:
    HRESULT Note(const std::wstring& call) {
        calls.push_back(call);
        return S_OK;
    }
};

TEST(DllSetup, TheFirstMapperIsToldOfFilterPinsAndTypesOneByOne) {
    const auto mapper = MakeCom<FirstMapper>();
    const AMOVIESETUP_FILTER* const setup = g_Templates[0].m_pAMovieSetup_Filter;
    EXPECT_EQ(AMovieSetupRegisterFilter(setup, mapper.get(), FALSE), S_OK)
        << "what was not there is no failure";
    EXPECT_EQ(AMovieSetupRegisterFilter(setup, mapper.get(), TRUE), S_OK);
    EXPECT_EQ(mapper->calls, (std::vector<std::wstring>{L"unregister", L"unregister",
                                                        L"filter Base class test filter 2097152",
                                                        L"pin Input in", L"type Input YUY2"}));
    mapper->pinTypeResult = E_ACCESSDENIED;
    EXPECT_EQ(AMovieSetupRegisterFilter(setup, mapper.get(), TRUE), E_ACCESSDENIED);
}

}  // namespace
}  // namespace nyx::test
