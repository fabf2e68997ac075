#pragma once

#include "media/libav.h"
#include "platform/byte_span.h"

namespace nyx::source {

/// How a video stream is coded, whatever code its container gives it.
enum class Coding { kOther, kTagged, kDv, kMpeg2, kTenBit };

/// The coding of a stream; kTagged for one that carries a FourCC of ours, kOther for one that no
/// pin can deliver.
Coding CodingOf(const AVCodecParameters& parameters);

/// The FourCC of a variant of DV, or 0 for one without a decoder.
DWORD DvFourCC(const AVDVProfile& profile);

/// True when a DV frame says that its picture is 16:9.
bool DvIsWide(ByteSpan frame);

/// The headers of an MPEG-2 frame.
struct MpegPicture {
    bool intra = false;   ///< also false when there is no picture
    AVRational aspect{};  ///< of the whole picture; 0 without a sequence header
    AVRational rate{};    ///< frames per second; likewise
};
MpegPicture ReadMpegPicture(ByteSpan frame);

/// The shown lines of an MPEG-2 picture, given its coded ones: professional formats also code lines
/// of the blanking interval above the picture, and whole macroblocks.
int ShownLines(int width, int codedLines);

}  // namespace nyx::source
