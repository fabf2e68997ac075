#pragma once

#include "baseclasses/streams.h"
#include "filters/frame_parameters.h"

namespace nyx {

/// A type that an output pin offers, apart from the form of its format block.
struct OfferedType {
    GUID subtype;
    BITMAPINFOHEADER header;
    REFERENCE_TIME averageFrameDuration;
    DWORD bitRate;
    LONG fieldOrder;       ///< only in the header2 form
    PictureAspect aspect;  ///< only in the header2 form
    bool fixedSizeSamples;
};

/// The form of a format block.
enum class BlockForm {
    kVideoInfo2,
    kVideoInfo,
};

/// A picture header with one plane, whose size is the SignedPictureSize of `bitCount`.
BITMAPINFOHEADER PictureHeader(LONG width, LONG height, WORD bitCount, DWORD compression);

/// Writes the offer into `type` with a block of the given form. `S_OK` or `E_OUTOFMEMORY`.
[[nodiscard]] HRESULT FillOfferedType(const OfferedType& offer, BlockForm form, CMediaType* type);

}  // namespace nyx
