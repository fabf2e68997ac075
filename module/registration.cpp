/// @file
/// Self-registration of all classes by the base-class library, including the encoder's entry among
/// the video compressors.

#include "baseclasses/streams.h"

STDAPI DllRegisterServer() {
    return AMovieDllRegisterServer2(TRUE);
}

STDAPI DllUnregisterServer() {
    return AMovieDllRegisterServer2(FALSE);
}
