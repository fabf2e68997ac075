/// @file
/// Self-registration: the base-class library's routine over the whole catalogue, then the entries
/// in further categories.

#include "baseclasses/streams.h"
#include "module/catalogue.h"

namespace nyx {
namespace {

/// The setup record with which the class factory's table lists a row.
const AMOVIESETUP_FILTER& SetupOf(int row) {
    return *g_Templates[row].m_pAMovieSetup_Filter;
}

HRESULT Enter(IFilterMapper2* mapper, int row) {
    const AMOVIESETUP_FILTER& setup = SetupOf(row);
    REGFILTER2 record = {};
    record.dwVersion = 1;
    record.dwMerit = setup.dwMerit;
    record.cPins = setup.nPins;
    record.rgPins = setup.lpPin;
    return mapper->RegisterFilter(*setup.clsID, setup.strName, nullptr,
                                  kCatalogue[row].furtherCategory, setup.strName, &record);
}

HRESULT Remove(IFilterMapper2* mapper, int row) {
    const AMOVIESETUP_FILTER& setup = SetupOf(row);
    return mapper->UnregisterFilter(kCatalogue[row].furtherCategory, setup.strName, *setup.clsID);
}

/// Applies `step` to every row that has a further category; the first failure ends it.
HRESULT ForFurtherCategories(HRESULT (*step)(IFilterMapper2*, int)) {
    IFilterMapper2* mapper = nullptr;
    HRESULT result = CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IFilterMapper2, reinterpret_cast<void**>(&mapper));
    if (FAILED(result)) {
        return result;
    }
    for (int row = 0; row < kCatalogueSize && SUCCEEDED(result); ++row) {
        if (kCatalogue[row].furtherCategory) {
            result = step(mapper, row);
        }
    }
    mapper->Release();
    return result;
}

HRESULT Register(BOOL enter, HRESULT (*step)(IFilterMapper2*, int)) {
    HRESULT result = AMovieDllRegisterServer2(enter);
    if (FAILED(result)) {
        return result;
    }
    // The caller's thread need not be in an apartment yet, and may be in one of the other kind.
    const bool entered = SUCCEEDED(CoInitialize(nullptr));
    result = ForFurtherCategories(step);
    if (entered) {
        CoUninitialize();
    }
    return result;
}

}  // namespace
}  // namespace nyx

STDAPI DllRegisterServer() {
    return nyx::Register(TRUE, nyx::Enter);
}

STDAPI DllUnregisterServer() {
    return nyx::Register(FALSE, nyx::Remove);
}
