#pragma once

#include "baseclasses/mtype.h"
#include "source/stream_format.h"

namespace nyx::source {

/// Fills in type `position` of a stream. Video has one with a `VIDEOINFOHEADER2` block, then one
/// with a `VIDEOINFOHEADER` block; audio has one, which depends on its depth and channels.
/// `E_INVALIDARG` for a negative position, `VFW_S_NO_MORE_ITEMS` after the last, or
/// `E_OUTOFMEMORY`.
[[nodiscard]] HRESULT FillMediaType(const StreamFormat& stream, int position, CMediaType* type);

}  // namespace nyx::source
