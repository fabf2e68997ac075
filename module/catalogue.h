#pragma once

/// @file
/// A row of the class table.

#include "baseclasses/streams.h"

namespace nyx {

/// A class's names for COM, the user and a filter graph.
struct ClassIdentity {
    const wchar_t* friendlyName;
    const wchar_t* objectName;  ///< the name that the object itself gets
    CLSID clsid;
};

}  // namespace nyx
