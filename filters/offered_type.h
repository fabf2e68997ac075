#pragma once

#include "baseclasses/streams.h"
#include "filters/frame_parameters.h"

namespace nyx {

/// What a filter's output pin offers, apart from the form of the format block.
struct OfferedType {
    GUID subtype;
    BITMAPINFOHEADER header;
    REFERENCE_TIME averageFrameDuration;
    DWORD bitRate;
    LONG fieldOrder;  ///< told by the header2 form only, as is the aspect
    PictureAspect aspect;
    bool fixedSizeSamples;
};

/// The form of a format block.
enum class BlockForm {
    kVideoInfo2,
    kVideoInfo,
};

/// Writes the offer into `type` with a block of the given form. `S_OK` or `E_OUTOFMEMORY`.
[[nodiscard]] HRESULT FillOfferedType(const OfferedType& offer, BlockForm form, CMediaType* type);

}  // namespace nyx
