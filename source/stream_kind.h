#pragma once

#include "media/libav.h"
#include "platform/byte_span.h"

namespace nyx::source {

/// What a video stream is, by its coding and not by the name that its container gives it.
enum class Coding { kOther, kTagged, kDv, kMpeg2, kTenBit };

/// The coding of a stream; kTagged for one that carries a FourCC of ours, kOther for what no pin
/// could deliver.
Coding CodingOf(const AVCodecParameters& parameters);

/// The FourCC of a variant of DV, or 0 for one without a decoder.
DWORD DvFourCC(const AVDVProfile& profile);

/// True when a DV frame says that its picture is 16:9.
bool DvIsWide(ByteSpan frame);

/// What the headers of an MPEG-2 frame say.
struct MpegPicture {
    bool intra = false;   ///< also false when there is no picture
    AVRational aspect{};  ///< of the whole picture; nothing without a sequence header
};
MpegPicture ReadMpegPicture(ByteSpan frame);

/// The lines that are shown of an MPEG-2 picture of so many coded ones: professional formats code
/// lines of the blanking interval above it, and macroblocks in full.
int ShownLines(int width, int codedLines);

}  // namespace nyx::source
