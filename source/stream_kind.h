#pragma once

#include <optional>

#include "platform/byte_span.h"
#include "source/libavformat.h"

namespace nyx::source {

/// What a video stream is, by its coding and not by the name that its container gives it.
enum class Coding { kTagged, kDv, kMpeg2, kTenBit };

/// A coding that is delivered here.
struct StreamKind {
    Coding coding;
    DWORD fourcc;   ///< what it is delivered as; 0 for DV, whose frames say it
    WORD bitCount;  ///< as the decoders of that FourCC know it
};

/// The kind of a video stream, or nothing when no pin could deliver it. Streams that carry one of
/// our FourCCs keep it, with the bit count of their container.
std::optional<StreamKind> StreamKindOf(const AVCodecParameters& parameters);

/// The FourCC of a variant of DV, or 0 for one without a decoder.
DWORD DvFourCC(const AVDVProfile& profile);

/// True when a DV frame says that its picture is 16:9. `frame` holds a whole frame.
bool DvIsWide(ByteSpan frame);

/// What a picture of MPEG-2 says of itself.
struct MpegPicture {
    bool intra = false;
    int aspectCode = 0;  ///< of the sequence header, 0 when there is none
};

/// Reads the headers before a picture's data; no picture counts as not intra-coded.
MpegPicture ReadMpegPicture(ByteSpan frame);

/// The lines that are shown of an MPEG-2 picture of so many coded ones: professional formats code
/// lines of the blanking interval above it, and macroblocks in full.
int ShownLines(int width, int codedLines);

}  // namespace nyx::source
