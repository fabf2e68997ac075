#pragma once

#include <memory>
#include <vector>

#include "platform/byte_span.h"
#include "source/footage_file.h"

namespace nyx::shell {

constexpr unsigned kMilliseconds = 2000;  ///< that the shell waits for a file at most
constexpr LONG kMaxThumbnail = 2048;      ///< pixels of the longer side

/// Rows of pixels from the top, without gaps.
struct Picture {
    LONG width = 0;
    LONG height = 0;
    std::vector<BYTE> pixels{};
};

/// Decodes a frame to the blue, green and red bytes of a Picture of the format's size. A failure
/// leaves anything there.
using DecodeFrame = HRESULT (*)(const source::VideoFormat& format, ByteSpan frame, BYTE* pixels);

/// Makes the picture of a file that the shell shows: the frame a tenth of the way in, or the first
/// of the later tenths that is not nearly black, or the brightest of them; both fields of it, as
/// decoded. At display aspect, its longer side `size` pixels, kMaxThumbnail at most. A pixel has
/// four bytes: blue, green, red and 255. Begins no frame when kMilliseconds are over. Fails without
/// a picture. Throws std::bad_alloc.
[[nodiscard]] HRESULT MakeThumbnail(std::unique_ptr<source::ByteSource> bytes, LONG size,
                                    DecodeFrame decode, Picture* thumbnail);

// decoders.cpp

/// Decodes a frame by the codec of its FourCC, as full-range RGB whatever the user has chosen for
/// other programs. `E_FAIL` without its engine. Behind the codecs' guard; engines are freed again.
/// A frame never leads to another file. Throws std::bad_alloc.
[[nodiscard]] HRESULT DecodeByCodec(const source::VideoFormat& format, ByteSpan frame,
                                    BYTE* pixels);
/// The compression of a FourCC as people call it; "" for an unknown one.
const wchar_t* CompressionName(DWORD fourcc);

}  // namespace nyx::shell
