/// @file
/// The library's entry points and its one class.

#include "baseclasses/streams.h"
#include "platform/class_ids.h"
#include "source/registration.h"
#include "source/source_filter.h"

namespace {

constexpr AMOVIESETUP_MEDIATYPE kTypes[] = {{&MEDIATYPE_Video, &GUID_NULL},
                                            {&MEDIATYPE_Audio, &GUID_NULL}};

wchar_t pinName[] = L"Output";

constexpr AMOVIESETUP_PIN kPin = SetupPin(pinName, TRUE, TRUE, kTypes);

// With this merit, hosts find the filter by its name or by a file's kind, never by a search for a
// filter that connects.
constexpr AMOVIESETUP_FILTER kSetup = {.clsID = &CLSID_NyxFootageSource,
                                       .strName = nyx::source::kFootageSourceName,
                                       .dwMerit = MERIT_DO_NOT_USE,
                                       .nPins = 1,
                                       .lpPin = &kPin};

}  // namespace

CFactoryTemplate g_Templates[] = {{nyx::source::kFootageSourceName, &CLSID_NyxFootageSource,
                                   nyx::source::FootageSource::Create, &kSetup}};
int g_cTemplates = 1;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    return DllEntryPoint(instance, reason, reserved);
}

/// Called by regsvr32 /n /i:KINDS: registers the source for those kinds of files only, or with /u
/// unregisters it.
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
