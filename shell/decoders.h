#pragma once

#include "shell/thumbnail_picture.h"

namespace nyx::shell {

/// Decodes a frame by the codec of its FourCC, as full-range RGB whatever the user has chosen for
/// other programs. `E_FAIL` without its engine. Behind the codecs' guard; memory and engines are
/// freed again. A frame never leads to another file. Throws std::bad_alloc.
[[nodiscard]] HRESULT DecodeByCodec(const source::VideoFormat& format, ByteSpan frame,
                                    BYTE* pixels);

/// The compression of a FourCC as people call it; "" for an unknown one.
const wchar_t* CompressionName(DWORD fourcc);

}  // namespace nyx::shell
