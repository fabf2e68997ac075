#pragma once

#include <optional>
#include <string>

#include "tests/support/directshow.h"

namespace nyx::test {

/// One filter as the system knows it.
struct RegisteredFilter {
    std::wstring name;
    DWORD merit;
};

/// The filter of that class in a category, by the system's device enumerator.
std::optional<RegisteredFilter> FilterInCategory(REFCLSID category, REFCLSID clsid);

/// Whether the filter mapper proposes the class for turning video of one subtype into the other.
/// `merit` is the least merit asked for.
bool MapperFinds(REFCLSID clsid, REFGUID inputSubtype, REFGUID outputSubtype, DWORD merit);

}  // namespace nyx::test
