#pragma once

#include <optional>
#include <vector>

#include "platform/win_types.h"

namespace nyx::test {

/// What an "INFO" container in front of a coded frame says.
struct InfoChunk {
    DWORD pixelAspectX = 1;
    DWORD pixelAspectY = 1;
    std::optional<DWORD>
        fieldCode;  ///< a "FIEL" sub-chunk: 0 top first, 1 bottom first, 2 progressive
};

/// `frame` behind the container that `info` describes.
std::vector<BYTE> WithInfoChunk(const std::vector<BYTE>& frame, const InfoChunk& info);

}  // namespace nyx::test
