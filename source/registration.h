#pragma once

#include <string>

#include "platform/dshow.h"

namespace nyx::source {

/// Registers the filter as the source of kinds of files: by check bytes, under media types of our
/// own, and on Windows itself by extensions that have no entry yet. `kinds` lists them with commas
/// between: "mxf", "gxf", "avi" (with the module's codes), "dv". Returns the first failure.
[[nodiscard]] HRESULT RegisterFileTypes(const std::wstring& kinds);

/// Removes all entries of RegisterFileTypes, and no other program's.
[[nodiscard]] HRESULT UnregisterFileTypes();

}  // namespace nyx::source
