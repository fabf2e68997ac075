#pragma once

#include <vector>

#include "tests/support/directshow.h"

namespace nyx::test {

/// One class that the module serves, as a host finds it in the registry.
struct ModuleClass {
    CLSID clsid;
    const wchar_t* name;
    bool isFilter;
    DWORD merit;
    std::vector<GUID> inputSubtypes;
    bool isCompressor;  ///< also entered in the video compressor category
    bool needsEngine;
};

/// All classes in the order of the catalogue.
const std::vector<ModuleClass>& ModuleClasses();

}  // namespace nyx::test
