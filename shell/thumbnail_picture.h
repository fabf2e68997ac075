#pragma once

#include <memory>

#include "platform/byte_span.h"
#include "shell/scale_picture.h"
#include "shell/timed_bytes.h"
#include "source/footage_file.h"

namespace nyx::shell {

/// Decodes a frame of a stream to the blue, green and red bytes of a Picture of the stream's size.
/// A failure leaves anything there.
using DecodeFrame = HRESULT (*)(const source::VideoFormat& format, ByteSpan frame, BYTE* pixels);

/// Opens a file for TimedBytes::kMilliseconds from now. `*time` is valid as long as the file. Fails
/// as FootageFile::Open, or with TimedBytes::kTooLate.
[[nodiscard]] HRESULT OpenInTime(std::unique_ptr<source::ByteSource> bytes,
                                 source::FootageFile* file, const TimedBytes** time);

/// Makes the picture of a file that the shell shows: the frame a tenth of the way in, or the first
/// of the later tenths that is not nearly black, or the brightest of them; both fields of it, as
/// decoded. At display aspect, its longer side `size` pixels, kMaxThumbnail at most. The time is
/// that of OpenInTime: when it is over, the best picture so far counts. Fails without a picture.
/// Throws std::bad_alloc.
[[nodiscard]] HRESULT MakeThumbnail(std::unique_ptr<source::ByteSource> bytes, LONG size,
                                    DecodeFrame decode, Picture* thumbnail);
constexpr LONG kMaxThumbnail = 2048;

}  // namespace nyx::shell
