/// @file
/// Self-registration: the base-class library's routine over all classes, the encoder's entry among
/// the video compressors included.

#include "baseclasses/streams.h"

STDAPI DllRegisterServer() {
    return AMovieDllRegisterServer2(TRUE);
}

STDAPI DllUnregisterServer() {
    return AMovieDllRegisterServer2(FALSE);
}
