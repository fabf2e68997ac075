#pragma once

/// @file
/// Why a file is refused, in words for the user. After Load has failed, a host asks the filter for
/// ISupportErrorInfo and the thread for its IErrorInfo.

#include <string>

#include "platform/win_types.h"

namespace nyx::source {

/// Leaves `reason`, plain ASCII, to the calling thread as an error of IFileSourceFilter, unless it
/// is empty. The system implements the error object, which may outlive the module. Returns
/// `result`.
[[nodiscard]] HRESULT WithReason(HRESULT result, const std::string& reason);

}  // namespace nyx::source
