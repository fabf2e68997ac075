/// @file
/// Self-registration: the base-class library's routine over all classes, then the encoder's entry
/// among the video compressors.

#include "baseclasses/streams.h"
#include "module/catalogue.h"

namespace nyx {
namespace {

HRESULT EnterCompressor(IFilterMapper2* mapper) {
    const AMOVIESETUP_FILTER& setup = kZetaEncoderSetup;
    REGFILTER2 record = {};
    record.dwVersion = 1;
    record.dwMerit = setup.dwMerit;
    record.cPins = setup.nPins;
    record.rgPins = setup.lpPin;
    return mapper->RegisterFilter(*setup.clsID, setup.strName, nullptr,
                                  &CLSID_VideoCompressorCategory, setup.strName, &record);
}

HRESULT RemoveCompressor(IFilterMapper2* mapper) {
    const AMOVIESETUP_FILTER& setup = kZetaEncoderSetup;
    return mapper->UnregisterFilter(&CLSID_VideoCompressorCategory, setup.strName, *setup.clsID);
}

HRESULT SetupCompressor(BOOL enter) {
    IFilterMapper2* mapper = nullptr;
    HRESULT result = CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IFilterMapper2, reinterpret_cast<void**>(&mapper));
    if (SUCCEEDED(result)) {
        result = enter ? EnterCompressor(mapper) : RemoveCompressor(mapper);
        mapper->Release();
    }
    return result;
}

HRESULT Register(BOOL enter) {
    HRESULT result = AMovieDllRegisterServer2(enter);
    if (FAILED(result)) {
        return result;
    }
    // The caller's thread need not be in an apartment yet, and may be in one of the other kind.
    const bool entered = SUCCEEDED(CoInitialize(nullptr));
    result = SetupCompressor(enter);
    if (entered) {
        CoUninitialize();
    }
    return result;
}

}  // namespace
}  // namespace nyx

STDAPI DllRegisterServer() {
    return nyx::Register(TRUE);
}

STDAPI DllUnregisterServer() {
    return nyx::Register(FALSE);
}
