#pragma once

#include "baseclasses/platform.h"

namespace nyx::source {

/// Enters the filter as the source of the files that it reads: by check bytes under media types of
/// our own and, on Windows itself, by extensions that nobody claims yet. The first failure ends it.
HRESULT RegisterFileTypes();

/// Takes out what RegisterFileTypes may have entered, and nothing of anybody else.
HRESULT UnregisterFileTypes();

}  // namespace nyx::source
