// "rkzalpha.dll": frames with alpha.

#include <algorithm>

#include "codecs/engine_records.h"
#include "engines/standin/zeta_formats.h"

namespace standin {
namespace {

using nyx::ZetaAlphaDecodeRecord;
using nyx::ZetaAlphaEncodeRecord;

constexpr std::string_view kTag = "ZTA1";
constexpr int kDepth = 8;

/// What a pixel-format word points to: when decoding a fill and a writer, when encoding a reader.
struct DecodeSlot {
    FillCallback fill;
    AlphaCallback writer;
};
struct EncodeSlot {
    AlphaCallback reader;
};

/// RGB 24-bit and 32-bit share numbers; the bytes per pixel tell them apart.
std::optional<RgbLayout> LayoutFor(DWORD code, LONG bytesPerPixel) {
    if (bytesPerPixel == 3) {
        return RgbLayoutFor(code, 8, 2, 3);
    }
    return bytesPerPixel == 4 ? RgbLayoutFor(code, 4, 1, 4) : std::nullopt;
}

/// The encoder is told no capacity: its caller's rule gives it 4.8 bytes per pixel, or 32 per block
/// of 16 by 16 pixels where that is more.
std::size_t CapacityFor(LONG width, LONG height) {
    const auto w = static_cast<std::size_t>(width);
    const auto h = static_cast<std::size_t>(height);
    return std::max(w * h * 48 / 10, ((w + 15) / 16) * ((h + 15) / 16) * 32);
}

LONG Store(const Picture& picture, const ZetaAlphaDecodeRecord& record) {
    const Surface surface = {static_cast<BYTE*>(record.destination), record.stride};
    if (IsAddress(record.pixelFormat)) {
        const auto* slot = reinterpret_cast<const DecodeSlot*>(record.pixelFormat);
        StoreByAlphaCallback(picture, surface, record.bytesPerPixel, slot->fill, slot->writer);
        return kDone;
    }
    if (record.pixelFormat == kYuy2Code) {
        StoreYuy2(picture, surface);
        return kDone;
    }
    const auto layout = LayoutFor(record.pixelFormat, record.bytesPerPixel);
    return layout && StoreRgb(picture, *layout, surface) ? kDone : kBadRecord;
}

LONG Decode(const ZetaAlphaDecodeRecord& record, Action action) {
    if (action == Action::kCallback && IsAddress(record.pixelFormat)) {
        BYTE block[1024] = {};
        reinterpret_cast<const DecodeSlot*>(record.pixelFormat)
            ->writer(nullptr, record.stride, 0, 0, block, 16, 1);
    }
    const auto header = ReadHeader(record.frame, kTag);
    if (!header) {
        return kBadFrame;
    }
    if (!IsZero(record.reserved5, 3) || !IsZero(record.reserved10, 5)) {
        return kBadRecord;
    }
    const auto picture = DecodeFrame(static_cast<const BYTE*>(record.frame), *header);
    return picture ? Store(*picture, record) : kBadFrame;
}

LONG Load(const ZetaAlphaEncodeRecord& record, Picture* picture) {
    const Surface surface = {const_cast<BYTE*>(static_cast<const BYTE*>(record.source)),
                             record.stride};
    if (IsAddress(record.pixelFormat)) {
        const auto* slot = reinterpret_cast<const EncodeSlot*>(record.pixelFormat);
        LoadByAlphaCallback(surface, record.bytesPerPixel, slot->reader, picture);
        return kDone;
    }
    const auto layout = LayoutFor(record.pixelFormat, record.bytesPerPixel);
    return layout && LoadRgb(surface, *layout, picture) ? kDone : kBadRecord;
}

LONG Encode(const ZetaAlphaEncodeRecord& record, Action action) {
    if (record.command != nyx::kCommandAlphaEncode || !IsZero(record.reserved5, 3) ||
        record.width < 2 || record.height < 1 || record.quantScale < 0 ||
        record.encodeConstant != nyx::kZetaEncodeConstant || record.reserved14 != 0) {
        return kBadRecord;
    }
    Picture picture(record.width, record.height, kDepth, true);
    const LONG loaded = Load(record, &picture);
    if (loaded != kDone) {
        return loaded;
    }
    return EncodeInto(record.output, CapacityFor(record.width, record.height), kTag, picture,
                      record.quantScale, action);
}

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall zetaa_decode(void* words) {
    return standin::RunDecodeEntry<nyx::ZetaAlphaProbeRecord>(words, standin::kTag,
                                                              &standin::Decode);
}

extern "C" LONG __stdcall zetaa_encode(void* words) {
    return standin::RunEncodeEntry(words, &standin::Encode);
}
