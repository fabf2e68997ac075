#pragma once

/// @file
/// What a row of the class table is made of.

#include "baseclasses/streams.h"

namespace nyx {

/// A class's names: what COM, the user and a filter graph call it.
struct ClassIdentity {
    const wchar_t* friendlyName;
    const wchar_t* objectName;  ///< what the object itself is given as its name
    CLSID clsid;
};

}  // namespace nyx
