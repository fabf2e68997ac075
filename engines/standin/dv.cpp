// "rkdvh.dll": every DV signal. Decodes no DCT block: the picture depends on the frame's digest
// alone, see dv_picture.h. An encoded frame is the first and the last row of the source.

#include <cstring>

#include "codecs/engine_records.h"
#include "engines/standin/call_log.h"
#include "engines/standin/dv_picture.h"
#include "engines/standin/picture.h"
#include "media/dv_signals.h"

namespace standin {
namespace {

constexpr Codes kCodes = {.rgb24 = 8, .rgb24Step = 2, .rgb32 = 7, .rgb32Step = 2};

/// The signal that a flag word names; null also for `refused`, the other direction's variant.
const nyx::DvSignal* FindSignal(LONG flags, LONG refused) {
    constexpr LONG kVariantBits = 0x3F;
    return (flags & kVariantBits) == refused ? nullptr : nyx::FindDvSignal(flags);
}

Picture PictureFor(const nyx::DvSignal& signal, const BYTE* frame) {
    const std::uint32_t digest = DvFrameDigest(frame, static_cast<std::size_t>(signal.frameBytes));
    Picture picture(signal.width, signal.height, false);
    for (int y = 0; y < signal.height; ++y) {
        for (int x = 0; x < signal.width; ++x) {
            const BYTE chroma = x % 2 == 0 ? DvBlue(digest, x, y) : DvRed(digest, x - 1, y);
            picture.row(y)[2 * x] = static_cast<std::uint16_t>(DvLuma(digest, x, y) * 4);
            picture.row(y)[2 * x + 1] = static_cast<std::uint16_t>(chroma * 4);
        }
    }
    return picture;
}

LONG Decode(LONG flags, const BYTE* frame, const Surface& surface, LONG code) {
    const nyx::DvSignal* signal = FindSignal(flags, nyx::kEngineDvcProHd720Encode);
    if (!signal) {
        return kBadRecord;
    }
    Picture picture = PictureFor(*signal, frame);
    return Copy(Direction::kStore, kCodes, static_cast<DWORD>(code), surface, &picture)
               ? kDone
               : kBadRecord;
}

LONG Encode(LONG flags, BYTE* frame, const Surface& source) {
    const nyx::DvSignal* signal = FindSignal(flags, nyx::kEngineDvcProHd720Decode);
    if (!signal || source.bytesPerPixel < 2 || source.bytesPerPixel > 4) {
        return kBadRecord;
    }
    const auto rowBytes = static_cast<std::size_t>(signal->width * source.bytesPerPixel);
    std::memset(frame, 0, static_cast<std::size_t>(signal->frameBytes));
    std::memcpy(frame, source.data, rowBytes);
    std::memcpy(frame + rowBytes, source.row(signal->height - 1), rowBytes);
    return signal->frameBytes;
}

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall dv_decode(LONG flags, const void* frame, void* destination, LONG stride,
                                    LONG bytesPerPixel, LONG code) {
    using namespace standin;
    LogArguments(kDecode, {flags, Word(frame), Word(destination), stride, bytesPerPixel, code});
    return RunEntry(kDecode, [&](Action) {
        return Decode(flags, static_cast<const BYTE*>(frame),
                      {static_cast<BYTE*>(destination), stride, bytesPerPixel}, code);
    });
}

extern "C" LONG __stdcall dv_encode(LONG flags, void* frame, const void* source, LONG stride,
                                    LONG bytesPerPixel, LONG code) {
    using namespace standin;
    LogArguments(kEncode, {flags, Word(frame), Word(source), stride, bytesPerPixel, code});
    return RunEntry(kEncode, [&](Action action) {
        auto* pixels = const_cast<BYTE*>(static_cast<const BYTE*>(source));
        const LONG length =
            Encode(flags, static_cast<BYTE*>(frame), {pixels, stride, bytesPerPixel});
        return action == Action::kLonger ? -length : length;
    });
}
