#pragma once

#include "platform/win_types.h"

namespace nyx::source {

/// Start codes of ISO/IEC 13818-2, table 6-1.
enum class MpegCode : BYTE { kPicture = 0x00, kSequence = 0xB3, kExtension = 0xB5, kGroup = 0xB8 };

/// Whether a start code of one kind begins at `bytes`, of which four can be read.
inline bool IsCode(const BYTE* bytes, MpegCode kind) noexcept {
    return bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1 && bytes[3] == static_cast<BYTE>(kind);
}

}  // namespace nyx::source
