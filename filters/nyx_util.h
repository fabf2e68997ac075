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

/// Small questions that decoder and encoder filters ask of media types. Stateless; the filters
/// inherit it beside their codec. Format blocks are recognised by format type alone and must be
/// long enough for the fixed part of their form; anything else counts as no block.
class NyxUtil {
  public:
    /// The 40-byte header inside the type's format block, null when there is none. Borrowed from
    /// the type.
    static BITMAPINFOHEADER* FindHeader(const AM_MEDIA_TYPE& type);

    /// The average frame duration of the block, 100 ns units; null when there is no block.
    static REFERENCE_TIME* FindAverageFrameDuration(const AM_MEDIA_TYPE& type);

    /// The block itself where it has the newer form, else null.
    static VIDEOINFOHEADER2* FindVideoInfo2(const AM_MEDIA_TYPE& type);

    /// Classifies an uncompressed type by bit count and subtype.
    static PictureKind ClassifyPicture(WORD bitCount, const GUID& subtype);

    /// `dwInterlaceFlags` of a `VIDEOINFOHEADER2` for a field order.
    static DWORD InterlaceFlags(LONG fieldOrder);
};

}  // namespace nyx
