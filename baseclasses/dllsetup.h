#pragma once

#include "platform/dshow.h"

/// A media type that a pin is registered with.
typedef REGPINTYPES AMOVIESETUP_MEDIATYPE;
/// A pin that a filter is registered with.
typedef REGFILTERPINS AMOVIESETUP_PIN;

/// A filter's registration.
typedef struct _AMOVIESETUP_FILTER {
    const CLSID* clsID;
    const WCHAR* strName;
    DWORD dwMerit;
    UINT nPins;
    const AMOVIESETUP_PIN* lpPin;
    const CLSID* clsCategory = nullptr;  ///< a second category beside the default one, or null
} AMOVIESETUP_FILTER;

/// A pin of any type in `types`, which outlives it. `many`: a filter may have none of it or
/// several.
template <UINT count>
constexpr AMOVIESETUP_PIN SetupPin(WCHAR* name, BOOL isOutput, BOOL many,
                                   const AMOVIESETUP_MEDIATYPE (&types)[count]) {
    return {.strName = name,
            .bRendered = FALSE,
            .bOutput = isOutput,
            .bZero = many,
            .bMany = many,
            .clsConnectsToFilter = nullptr,
            .strConnectsToPin = nullptr,
            .nMediaTypes = count,
            .lpMediaType = types};
}

/// Registers (TRUE) or unregisters (FALSE) every class of `g_Templates`: the COM server keys of all
/// classes, and the filter entries of those with setup data, in the mapper's default category and
/// then in their own. The module's path is that of `g_hInst`. Stops at the first failure and
/// returns it.
STDAPI AMovieDllRegisterServer2(BOOL bRegister);
