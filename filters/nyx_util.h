#pragma once

#include "baseclasses/streams.h"
#include "codecs/codec.h"

namespace nyx {

/// What an uncompressed media type is to a codec.
enum class PictureKind {
    kInvalid,
    kOpaque,
    kAlpha,
};

/// What the format block of a type tells, borrowed from the type.
struct VideoFormat {
    const BITMAPINFOHEADER* header;  ///< null when there is no block; then the rest is zero
    REFERENCE_TIME averageFrameDuration;
    const VIDEOINFOHEADER2* header2;  ///< the block itself where it has the header2 form, else null
};

/// Small questions that decoder and encoder filters ask of media types. Stateless; the filters
/// inherit it beside their codec.
class NyxUtil {
  public:
    /// Reads the format block. Blocks are recognised by format type alone and must be long enough
    /// for the fixed part of their form; anything else counts as no block.
    static VideoFormat FormatOf(const AM_MEDIA_TYPE& type);

    /// Classifies an uncompressed type by bit count and subtype.
    static PictureKind ClassifyPicture(WORD bitCount, const GUID& subtype);

    /// `dwInterlaceFlags` of a `VIDEOINFOHEADER2` for a field order.
    static DWORD InterlaceFlags(LONG fieldOrder);
};

}  // namespace nyx
