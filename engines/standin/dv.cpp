// "rkdvh.dll": every flavour of DV. Decodes no DCT block: a frame's picture is made up from its
// digest, see dv_picture.h. An encoded frame is the first and the last row of the source.

#include <cstring>

#include "dv/dv_engine.h"
#include "engines/standin/call_log.h"
#include "engines/standin/dv_picture.h"
#include "engines/standin/picture.h"

namespace standin {
namespace {

constexpr Codes kCodes = {0, 8, 2, 7, 2};

struct Format {
    LONG variant;
    LONG system;
    int width;
    int height;
    LONG frameBytes;
};

constexpr Format kFormats[] = {
    {nyx::kEngineDv25, nyx::kEngineSystem60, 720, 480, 120000},
    {nyx::kEngineDv25, nyx::kEngineSystem50, 720, 576, 144000},
    {nyx::kEngineDvcPro25, nyx::kEngineSystem60, 720, 480, 120000},
    {nyx::kEngineDvcPro25, nyx::kEngineSystem50, 720, 576, 144000},
    {nyx::kEngineDvcPro50, nyx::kEngineSystem60, 720, 480, 240000},
    {nyx::kEngineDvcPro50, nyx::kEngineSystem50, 720, 576, 288000},
    {nyx::kEngineDvcProHd1080, nyx::kEngineSystem60, 1280, 1080, 480000},
    {nyx::kEngineDvcProHd1080, nyx::kEngineSystem50, 1440, 1080, 576000},
    {nyx::kEngineDvcProHd720Decode, nyx::kEngineSystem60, 960, 720, 240000},
    {nyx::kEngineDvcProHd720Decode, nyx::kEngineSystem50, 960, 720, 288000},
    {nyx::kEngineDvcProHd720Encode, nyx::kEngineSystem60, 960, 720, 240000},
    {nyx::kEngineDvcProHd720Encode, nyx::kEngineSystem50, 960, 720, 288000},
};

const Format* FormatFor(LONG flags) {
    for (const Format& format : kFormats) {
        if ((flags & ~nyx::kEngineWide) == (format.variant | format.system)) {
            return &format;
        }
    }
    return nullptr;
}

Picture MakeUp(const Format& format, const BYTE* frame) {
    const std::uint32_t digest = DvFrameDigest(frame, static_cast<std::size_t>(format.frameBytes));
    Picture picture(format.width, format.height, false);
    for (int y = 0; y < format.height; ++y) {
        for (int x = 0; x < format.width; ++x) {
            const BYTE chroma = x % 2 == 0 ? DvBlue(digest, x, y) : DvRed(digest, x - 1, y);
            picture.row(y)[2 * x] = static_cast<std::uint16_t>(DvLuma(digest, x, y) * 4);
            picture.row(y)[2 * x + 1] = static_cast<std::uint16_t>(chroma * 4);
        }
    }
    return picture;
}

LONG Decode(LONG flags, const BYTE* frame, const Surface& surface, LONG code) {
    const Format* format = FormatFor(flags);
    if (!format || format->variant == nyx::kEngineDvcProHd720Encode) {
        return kBadRecord;
    }
    Picture picture = MakeUp(*format, frame);
    return Copy(Direction::kStore, kCodes, static_cast<DWORD>(code), surface, &picture)
               ? kDone
               : kBadRecord;
}

LONG Encode(LONG flags, BYTE* frame, const Surface& source) {
    const Format* format = FormatFor(flags);
    if (!format || format->variant == nyx::kEngineDvcProHd720Decode || source.bytesPerPixel < 2 ||
        source.bytesPerPixel > 4) {
        return kBadRecord;
    }
    const auto rowBytes = static_cast<std::size_t>(format->width * source.bytesPerPixel);
    std::memset(frame, 0, static_cast<std::size_t>(format->frameBytes));
    std::memcpy(frame, source.data, rowBytes);
    std::memcpy(frame + rowBytes, source.row(format->height - 1), rowBytes);
    return format->frameBytes;
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
