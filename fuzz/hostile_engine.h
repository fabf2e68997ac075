#pragma once

/// @file
/// An engine in place of the closed ones, which answers as a fuzzer tells it to.

#include "codecs/pixel_format_index.h"
#include "platform/byte_span.h"

namespace nyx::fuzz {

/// What the engine does, and the one frame that it may be called for.
struct EngineScript {
    DWORD codedLength = 0;        ///< its answer to a probe
    LONG alphaKind = 0;           ///< Zeta2: likewise
    bool throwsInProbe = false;   ///< the call does not come back
    bool throwsInDecode = false;  ///< likewise, after half of the picture
    ByteSpan frame;               ///< the coded frame: calls must be about it
    LONG width = 0;               ///< the compressed picture, which a decode call writes
    LONG height = 0;
};

extern EngineScript engineScript;

/// Calls that decoded, since the last one of this function.
int TakeDecodeCalls();

}  // namespace nyx::fuzz
