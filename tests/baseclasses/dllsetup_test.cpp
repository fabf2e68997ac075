#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "baseclasses/streams.h"
#include "tests/support/com_ptr.h"
#include "tests/support/test_object.h"

namespace nyx::test {
namespace {

WCHAR pinName[] = L"Input";
const AMOVIESETUP_MEDIATYPE kTypes[] = {{&MEDIATYPE_Video, &MEDIASUBTYPE_YUY2}};
const AMOVIESETUP_PIN kPins[] = {
    {pinName, FALSE, FALSE, FALSE, FALSE, nullptr, nullptr, 1, kTypes}};
const AMOVIESETUP_FILTER kSetup = {&GUID_NULL, L"Test filter", MERIT_DO_NOT_USE, 1, kPins};

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

TEST(DllSetup, TakingAwayAFilterThatIsNotThereIsNoFailure) {
    ComPtr<IFilterMapper2> mapper;
    ASSERT_EQ(CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                               IID_IFilterMapper2, mapper.PutVoid()),
              S_OK);
    EXPECT_EQ(AMovieSetupRegisterFilter2(&kSetup, mapper.get(), FALSE), S_OK);
}

TEST(DllSetup, TheFirstMapperIsToldOfFilterPinsAndTypesOneByOne) {
    const auto mapper = MakeCom<FirstMapper>();
    EXPECT_EQ(AMovieSetupRegisterFilter(&kSetup, mapper.get(), FALSE), S_OK)
        << "what was not there is no failure";
    EXPECT_EQ(AMovieSetupRegisterFilter(&kSetup, mapper.get(), TRUE), S_OK);
    EXPECT_EQ(mapper->calls, (std::vector<std::wstring>{L"unregister", L"unregister",
                                                        L"filter Test filter 2097152",
                                                        L"pin Input in", L"type Input YUY2"}));
    mapper->pinTypeResult = E_ACCESSDENIED;
    EXPECT_EQ(AMovieSetupRegisterFilter(&kSetup, mapper.get(), TRUE), E_ACCESSDENIED);
}

}  // namespace
}  // namespace nyx::test
