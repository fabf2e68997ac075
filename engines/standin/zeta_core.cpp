// "rkzcore.dll": opaque frames.

#include "codecs/engine_records.h"
#include "engines/standin/zeta_formats.h"

namespace standin {
namespace {

using nyx::ZetaCoreDecodeRecord;
using nyx::ZetaCoreEncodeRecord;

constexpr std::string_view kTag = "ZCF1";
constexpr int kDepth = 8;

std::optional<RgbLayout> LayoutFor(DWORD code, LONG bytesPerPixel) {
    if (bytesPerPixel == 3) {
        return RgbLayoutFor(code, 8, 2, 3);
    }
    return bytesPerPixel == 4 ? RgbLayoutFor(code, 7, 2, 4) : std::nullopt;
}

CoreCallback CallbackIn(DWORD slot) {
    return *reinterpret_cast<const CoreCallback*>(slot);
}

LONG Store(const Picture& picture, const ZetaCoreDecodeRecord& record) {
    const Surface surface = {static_cast<BYTE*>(record.destination), record.stride};
    if (IsAddress(record.pixelFormat)) {
        StoreByCoreCallback(picture, surface, record.bytesPerPixel, CallbackIn(record.pixelFormat));
        return kDone;
    }
    if (record.pixelFormat == kYuy2Code) {
        StoreYuy2(picture, surface);
        return kDone;
    }
    const auto layout = LayoutFor(record.pixelFormat, record.bytesPerPixel);
    return layout && StoreRgb(picture, *layout, surface) ? kDone : kBadRecord;
}

LONG Decode(const ZetaCoreDecodeRecord& record, Action action) {
    if (action == Action::kCallback && IsAddress(record.pixelFormat)) {
        BYTE block[1024] = {};
        CallbackIn(record.pixelFormat)(nullptr, record.stride, block, 16, 1);
    }
    const auto header = ReadHeader(record.frame, kTag);
    if (!header || header->codedLength > record.codedLength) {
        return kBadFrame;
    }
    if (record.coreConstant != nyx::kCoreConstant || !IsZero(record.reserved, 5)) {
        return kBadRecord;
    }
    const auto picture = DecodeFrame(static_cast<const BYTE*>(record.frame), *header);
    return picture ? Store(*picture, record) : kBadFrame;
}

LONG Load(const ZetaCoreEncodeRecord& record, Picture* picture) {
    const Surface surface = {const_cast<BYTE*>(static_cast<const BYTE*>(record.source)),
                             record.stride};
    if (IsAddress(record.pixelFormat)) {
        LoadByCoreCallback(surface, record.bytesPerPixel, CallbackIn(record.pixelFormat), picture);
        return kDone;
    }
    if (record.pixelFormat == kYuy2Code) {
        LoadYuy2(surface, picture);
        return kDone;
    }
    const auto layout = LayoutFor(record.pixelFormat, record.bytesPerPixel);
    return layout && LoadRgb(surface, *layout, picture) ? kDone : kBadRecord;
}

LONG Encode(const ZetaCoreEncodeRecord& record, Action action) {
    const LONG blocks = ((record.width + 15) / 16) * ((record.height + 15) / 16);
    if (record.command != nyx::kCommandCoreEncode || record.width < 2 || record.height < 1 ||
        record.workSize != blocks * 4096 || record.coreConstant != nyx::kCoreConstant ||
        record.quantScale < 0 || record.encodeConstant != nyx::kZetaEncodeConstant ||
        record.reserved != 0) {
        return kBadRecord;
    }
    Picture picture(record.width, record.height, kDepth, false);
    const LONG loaded = Load(record, &picture);
    if (loaded != kDone) {
        return loaded;
    }
    return EncodeInto(record.output, record.outputCapacity, kTag, picture, record.quantScale,
                      action);
}

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall zcf_decode(void* words) {
    return standin::RunDecodeEntry<nyx::ZetaCoreDecodeRecord>(words, standin::kTag,
                                                              &standin::Decode);
}

extern "C" LONG __stdcall zcf_encode(void* words) {
    return standin::RunEncodeEntry(words, &standin::Encode);
}
