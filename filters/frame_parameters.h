#pragma once

#include <cstdint>

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "platform/byte_span.h"

namespace nyx {

/// A picture aspect ratio with the signs of the frame's values; 0:0 for a pixel aspect of 0:0.
struct PictureAspect {
    std::int64_t x = 0;
    std::int64_t y = 0;
};

/// The picture aspect of `width` by `height` pixels of the given pixel aspect, divided by the
/// greatest common divisor of the absolute values. Keeps the signs: frames may carry any.
PictureAspect PictureAspectOf(LONG width, LONG height, LONG pixelAspectX, LONG pixelAspectY);

/// The properties of a compressed frame, or of a stream before its first frame.
struct FrameParameters {
    BITMAPINFOHEADER header = {};  ///< the type's; `biSizeImage` is the given frame's length
    REFERENCE_TIME averageFrameDuration = 0;
    LONG fieldOrder = -1;
    PictureAspect aspect;
};

/// Asks the codec about one frame, or with an empty `frame` about the stream. `E_FAIL` when the
/// type has no header, else the codec's result.
[[nodiscard]] HRESULT ReadFrameParameters(ICodec& codec, const AM_MEDIA_TYPE& type, ByteSpan frame,
                                          FrameParameters* parameters);

}  // namespace nyx
