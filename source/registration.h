#pragma once

#include <string>

#include "baseclasses/platform.h"

namespace nyx::source {

/// Enters the filter as the source of the files that it reads: by check bytes under media types of
/// our own and, on Windows itself, by extensions that nobody claims yet. `kinds` names what is to
/// be entered, with commas between: "mxf", "gxf", "avi" of the module's codes, "dv". The first
/// failure is returned.
[[nodiscard]] HRESULT RegisterFileTypes(const std::wstring& kinds);

/// Takes out what RegisterFileTypes may have entered, and nothing of anybody else.
[[nodiscard]] HRESULT UnregisterFileTypes();

}  // namespace nyx::source
