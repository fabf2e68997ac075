#pragma once

/// @file
/// Well-formed frames of the formats that need an engine, all of them one flat grey.

#include <vector>

#include "tests/support/directshow.h"

namespace nyx::test {

/// A frame that the stand-in engine of that coding (engines/standin/frame_coder.h) makes. Coded
/// once for each size. Throws when the engine is not found.
std::vector<BYTE> GreyFrame(const char* coding, LONG width, LONG height);

/// A DV frame of zeroes with the two packs that tell what it is: the video source pack by system
/// and signal type (IEC 61834-4, SMPTE 314M and 370M) and the video source control pack.
std::vector<BYTE> PlainDvFrame(std::size_t size, bool fiftyFields, BYTE signalType, bool wide);

}  // namespace nyx::test
