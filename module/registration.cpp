/// @file
/// Self-registration: the base-class library's routine over the whole catalogue.

#include "baseclasses/streams.h"

STDAPI DllRegisterServer() {
    return AMovieDllRegisterServer2(TRUE);
}

STDAPI DllUnregisterServer() {
    return AMovieDllRegisterServer2(FALSE);
}
