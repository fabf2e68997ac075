#pragma once

#include "baseclasses/streams.h"
#include "codecs/codec.h"

namespace nyx {

/// How a codec sees the pictures of an uncompressed media type.
enum class PictureKind {
    kInvalid,
    kOpaque,
    kAlpha,
};

/// The format block of a type, borrowed from the type.
struct VideoFormat {
    const BITMAPINFOHEADER* header =
        nullptr;  ///< null without a block; the rest keeps its defaults
    REFERENCE_TIME averageFrameDuration = 0;
    const VIDEOINFOHEADER2* header2 = nullptr;  ///< the block itself if it has the header2 form
    PictureKind kind = PictureKind::kInvalid;   ///< of an uncompressed type
};

/// What decoder and encoder filters read from media types. Stateless; the filters inherit it beside
/// their codec.
class NyxUtil {
  public:
    /// Reads the format block. The format type alone decides the form of a block, which must be
    /// long enough for the fixed part of that form; anything else counts as no block.
    static VideoFormat FormatOf(const AM_MEDIA_TYPE& type) noexcept;

    /// The kind of an uncompressed type by bit count and subtype.
    static PictureKind ClassifyPicture(WORD bitCount, const GUID& subtype) noexcept;

    /// `dwInterlaceFlags` of a `VIDEOINFOHEADER2` for a field order.
    static DWORD InterlaceFlags(LONG fieldOrder) noexcept;
};

}  // namespace nyx
