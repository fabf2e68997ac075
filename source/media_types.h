#pragma once

#include "baseclasses/mtype.h"
#include "source/stream_format.h"

namespace nyx::source {

/// Type `position` of a stream: of video with a `VIDEOINFOHEADER2` block, then with a
/// `VIDEOINFOHEADER` one; of sound the one that its depth and channels ask for. `E_INVALIDARG`
/// before the first, `VFW_S_NO_MORE_ITEMS` behind the last, or `E_OUTOFMEMORY`.
[[nodiscard]] HRESULT FillMediaType(const StreamFormat& stream, int position, CMediaType* type);

}  // namespace nyx::source
