#pragma once

#include <string>
#include <vector>

#include "tests/support/directshow.h"

namespace nyx::test {

/// One filter as the system knows it.
struct RegisteredFilter {
    std::wstring name;
    CLSID clsid;
    DWORD merit;
    std::vector<BYTE> data;  ///< the stored description: merit, pins, types
};

/// All filters of a category, by the system's device enumerator.
std::vector<RegisteredFilter> FiltersOfCategory(REFCLSID category);

/// Whether the filter mapper proposes the class for a video stream of this subtype. `merit` is the
/// least merit asked for.
bool MapperFinds(REFCLSID clsid, REFGUID inputSubtype, DWORD merit);

}  // namespace nyx::test
