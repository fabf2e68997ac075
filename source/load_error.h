#pragma once

/// @file
/// Why a file is refused, in words for the user, by the platform's way: a host asks the filter for
/// ISupportErrorInfo and the thread for its IErrorInfo after Load has failed.

#include <string>

#include "platform/win_types.h"

namespace nyx::source {

/// Leaves `reason`, plain ASCII, for the calling thread, as said by the filter's IFileSourceFilter;
/// nothing where it is empty. The object is the system's own and outlives the module. `result`.
[[nodiscard]] HRESULT WithReason(HRESULT result, const std::string& reason);

}  // namespace nyx::source
