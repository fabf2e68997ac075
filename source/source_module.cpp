/// @file
/// The library's entry points and the one class that it serves.

#include "baseclasses/streams.h"
#include "platform/class_ids.h"
#include "source/registration.h"
#include "source/source_filter.h"

namespace {

constexpr AMOVIESETUP_MEDIATYPE kTypes[] = {{&MEDIATYPE_Video, &GUID_NULL},
                                            {&MEDIATYPE_Audio, &GUID_NULL}};

AMOVIESETUP_PIN OutputPin() {
    AMOVIESETUP_PIN pin{};
    pin.strName = const_cast<wchar_t*>(L"Output");
    pin.bOutput = TRUE;
    pin.bZero = TRUE;
    pin.bMany = TRUE;
    pin.nMediaTypes = 2;
    pin.lpMediaType = kTypes;
    return pin;
}

const AMOVIESETUP_PIN kPin = OutputPin();

// Found by its name and by what a file is, never by a search for a filter that connects.
const AMOVIESETUP_FILTER kSetup = {
    &CLSID_NyxFootageSource, nyx::source::kFootageSourceName, MERIT_DO_NOT_USE, 1, &kPin, nullptr};

}  // namespace

CFactoryTemplate g_Templates[] = {{nyx::source::kFootageSourceName, &CLSID_NyxFootageSource,
                                   nyx::source::FootageSource::Create, &kSetup}};
int g_cTemplates = 1;

extern "C" BOOL WINAPI DllEntryPoint(HINSTANCE instance, ULONG reason, LPVOID reserved);

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    return DllEntryPoint(instance, reason, reserved);
}

/// What regsvr32 /n /i:KINDS calls: registers the source for those kinds of files and no others, or
/// with /u takes it out.
STDAPI DllInstall(BOOL enter, LPCWSTR kinds) {
    const HRESULT types = nyx::source::UnregisterFileTypes();
    const HRESULT classes = AMovieDllRegisterServer2(enter);
    const HRESULT result = FAILED(types) ? types : classes;
    return enter && SUCCEEDED(result) ? nyx::source::RegisterFileTypes(kinds ? kinds : L"")
                                      : result;
}

STDAPI DllRegisterServer() {
    return DllInstall(TRUE, L"mxf,gxf,avi,dv");
}

STDAPI DllUnregisterServer() {
    return DllInstall(FALSE, nullptr);
}
