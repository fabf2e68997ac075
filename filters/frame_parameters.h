#pragma once

#include <cstdint>

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "platform/byte_span.h"

namespace nyx {

/// A picture aspect ratio, signs as the frame tells them; 0:0 where the pixel aspect is 0:0.
struct PictureAspect {
    std::int64_t x;
    std::int64_t y;
};

/// The picture aspect of `width` by `height` pixels of the given pixel aspect, divided by the
/// greatest common divisor of the absolute values. Signs are kept: a frame may tell any of them.
PictureAspect PictureAspectOf(LONG width, LONG height, LONG pixelAspectX, LONG pixelAspectY);

/// What negotiation and each frame need to know of the compressed side.
struct FrameParameters {
    BITMAPINFOHEADER header;  ///< the type's; `biSizeImage` is the given frame's length
    REFERENCE_TIME averageFrameDuration;
    LONG fieldOrder;
    PictureAspect aspect;
};

/// Writes what a frame shows into a block of the header2 form.
void WriteFrameParameters(LONG fieldOrder, const PictureAspect& aspect, VIDEOINFOHEADER2* block);

/// Asks the codec about one frame, or with an empty `frame` about the stream. `E_FAIL` when the
/// type has no header; a codec's failure is passed on.
[[nodiscard]] HRESULT ReadFrameParameters(ICodec& codec, const AM_MEDIA_TYPE& type, ByteSpan frame,
                                          FrameParameters* parameters);

}  // namespace nyx
