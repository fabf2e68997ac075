#pragma once

#include <string>

#include "host/media_type.h"

namespace nyx::host {

/// Reports why a clip of type `compressed` cannot be connected to `formatName`, with each
/// candidate's answer: kNoDecoder when no registered filter names the subtype, kNoEngine when one
/// cannot be created and no other accepts the clip, else kRefused. `result` is the graph's.
[[noreturn]] void ExplainFailedConnection(const MediaType& compressed,
                                          const std::string& formatName, HRESULT result);

}  // namespace nyx::host
