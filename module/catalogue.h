#pragma once

/// @file
/// Who we are: the classes of this module, one row each. The class-factory table, the filters'
/// setup records and their registration follow from it.

#include "baseclasses/streams.h"

namespace nyx {

/// A class's names: what COM, the user and a filter graph call it.
struct ClassIdentity {
    const wchar_t* friendlyName;
    const wchar_t* objectName;  ///< what the object itself is given as its name
    CLSID clsid;
};

/// What a pin registers: up to two types.
struct PinTypes {
    GUID subtypes[2];
    unsigned count;
};

/// One class of the module.
struct CatalogueRow {
    const ClassIdentity* identity;
    LPFNNewCOMObject create;
    DWORD merit;                   ///< 0 with no pins for a class that is no filter
    PinTypes input;                ///< subtypes of major type Video
    PinTypes output;               ///< subtypes of major type Video, `GUID_NULL` for any
    const CLSID* furtherCategory;  ///< a category to register in beside the default one, or null
};

/// Room for the classes that there are to be.
constexpr int kMostClasses = 10;

/// The table itself, in the order in which classes are registered.
extern const CatalogueRow kCatalogue[];
extern const int kCatalogueSize;

}  // namespace nyx
