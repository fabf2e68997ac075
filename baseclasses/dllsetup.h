#pragma once

#include "baseclasses/platform.h"

/// A media type that a pin is registered with.
typedef REGPINTYPES AMOVIESETUP_MEDIATYPE;
/// A pin that a filter is registered with.
typedef REGFILTERPINS AMOVIESETUP_PIN;

/// What a filter is registered with.
typedef struct _AMOVIESETUP_FILTER {
    const CLSID* clsID;
    const WCHAR* strName;
    DWORD dwMerit;
    UINT nPins;
    const AMOVIESETUP_PIN* lpPin;
    const CLSID* clsCategory;  ///< a second category beside the default one, or null
} AMOVIESETUP_FILTER;

/// Registers (TRUE) or unregisters (FALSE) every class of `g_Templates`: the COM server keys of
/// all, and the filter entries, in the mapper's default category and then in those of their own, of
/// those with setup data. The module's path is `g_hInst`'s. The first failure ends it and is
/// returned.
STDAPI AMovieDllRegisterServer2(BOOL bRegister);
