#pragma once

/// @file
/// Who we are: the classes of this module as the class factory's table, one row each.

#include "baseclasses/streams.h"

namespace nyx {

/// A class's names: what COM, the user and a filter graph call it.
struct ClassIdentity {
    const wchar_t* friendlyName;
    const wchar_t* objectName;  ///< what the object itself is given as its name
    CLSID clsid;
};

/// What the encoder registers with. It is entered in a second category beside the default one.
extern const AMOVIESETUP_FILTER& kZetaEncoderSetup;

}  // namespace nyx
