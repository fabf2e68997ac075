// "rkdvh.dll": every flavour of DV. Decodes no DCT block: a frame's picture is made up from its
// digest, see dv_picture.h. An encoded frame is the first and the last row of the source.

#include <cstring>
#include <optional>

#include "dv/dv_engine.h"
#include "engines/standin/call_log.h"
#include "engines/standin/dv_picture.h"
#include "engines/standin/picture.h"

namespace standin {
namespace {

constexpr LONG kVariantMask = 0x3F;

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

/// Codes count down from the high-definition full-range layout: 8 to 2 by twos for RGB 24-bit, 7 to
/// 1 for RGB 32-bit.
std::optional<RgbLayout> LayoutFor(LONG code, LONG bytesPerPixel) {
    const LONG first = bytesPerPixel == 3 ? 8 : 7;
    const LONG step = first - code;
    if ((bytesPerPixel != 3 && bytesPerPixel != 4) || step < 0 || step > 6 || step % 2 != 0) {
        return std::nullopt;
    }
    return RgbLayout{static_cast<int>(bytesPerPixel), step < 4, step % 4 == 0};
}

Picture MakeUp(const Format& format, const BYTE* frame) {
    const std::uint32_t digest = DvFrameDigest(frame, static_cast<std::size_t>(format.frameBytes));
    Picture picture(format.width, format.height, 8, false);
    for (int y = 0; y < format.height; ++y) {
        for (int x = 0; x < format.width; ++x) {
            picture.y.row(y)[x] = DvLuma(digest, x, y);
        }
        for (int x = 0; x < format.width; x += 2) {
            picture.cb.row(y)[x / 2] = DvBlue(digest, x, y);
            picture.cr.row(y)[x / 2] = DvRed(digest, x, y);
        }
    }
    return picture;
}

LONG Decode(LONG flags, const BYTE* frame, const Surface& surface, LONG bytesPerPixel, LONG code) {
    const Format* format = FormatFor(flags);
    if (!format || format->variant == nyx::kEngineDvcProHd720Encode) {
        return kBadRecord;
    }
    if (bytesPerPixel == 2 && code == 0) {
        StoreYuy2(MakeUp(*format, frame), surface);
        return kDone;
    }
    const auto layout = LayoutFor(code, bytesPerPixel);
    return layout && StoreRgb(MakeUp(*format, frame), *layout, surface) ? kDone : kBadRecord;
}

LONG Encode(LONG flags, BYTE* frame, const Surface& source, LONG bytesPerPixel) {
    const Format* format = FormatFor(flags);
    if (!format || format->variant == nyx::kEngineDvcProHd720Decode || bytesPerPixel < 2 ||
        bytesPerPixel > 4) {
        return kBadRecord;
    }
    const auto rowBytes = static_cast<std::size_t>(format->width * bytesPerPixel);
    std::memset(frame, 0, static_cast<std::size_t>(format->frameBytes));
    std::memcpy(frame, source.data, rowBytes);
    std::memcpy(frame + rowBytes,
                source.data + std::ptrdiff_t{source.stride} * (format->height - 1), rowBytes);
    return format->frameBytes;
}

template <typename... Arguments>
void LogArguments(Purpose purpose, Arguments... arguments) {
    const DWORD words[] = {arguments...};
    LogCall(purpose, words, sizeof...(arguments));
}

DWORD Word(const void* pointer) {
    return reinterpret_cast<DWORD>(pointer);
}
DWORD Word(LONG number) {
    return static_cast<DWORD>(number);
}

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall dv_decode(LONG flags, const void* frame, void* destination, LONG stride,
                                    LONG bytesPerPixel, LONG code) {
    using namespace standin;
    LogArguments(kDecode, Word(flags), Word(frame), Word(destination), Word(stride),
                 Word(bytesPerPixel), Word(code));
    return RunEntry(kDecode, [&](Action) {
        return Decode(flags, static_cast<const BYTE*>(frame),
                      {static_cast<BYTE*>(destination), stride}, bytesPerPixel, code);
    });
}

extern "C" LONG __stdcall dv_encode(LONG flags, void* frame, const void* source, LONG stride,
                                    LONG bytesPerPixel, LONG code) {
    using namespace standin;
    LogArguments(kEncode, Word(flags), Word(frame), Word(source), Word(stride), Word(bytesPerPixel),
                 Word(code));
    return RunEntry(kEncode, [&](Action action) {
        auto* pixels = const_cast<BYTE*>(static_cast<const BYTE*>(source));
        const LONG length =
            Encode(flags, static_cast<BYTE*>(frame), {pixels, stride}, bytesPerPixel);
        return action == Action::kLonger ? -length : length;
    });
}
