// "rkz2core.dll": 10-bit frames with or without alpha.

#include <algorithm>

#include "codecs/engine_records.h"
#include "engines/standin/zeta_formats.h"

namespace standin {
namespace {

using nyx::Zeta2DecodeRecord;
using nyx::Zeta2EncodeRecord;
using nyx::Zeta2Plane;

constexpr std::string_view kTag = "QZ21";
constexpr int kDepth = 10;
constexpr DWORD kZeta2Yuy2Code = 1;
constexpr std::size_t kPlaneWords = sizeof(Zeta2Plane) / 4;

/// Odd numbers above 1 are RGB 24-bit, even ones RGB 32-bit.
std::optional<RgbLayout> LayoutFor(DWORD code) {
    return code % 2 != 0 ? RgbLayoutFor(code, 9, 2, 3) : RgbLayoutFor(code, 8, 2, 4);
}

WorkingRowsCallback CallbackAt(DWORD code) {
    return reinterpret_cast<WorkingRowsCallback>(code);
}

/// The caller's work size divides by its bytes per pixel, which the record does not hold.
bool IsWorkSize(LONG size, LONG width, LONG height) {
    constexpr LONG kBytesPerPixel[] = {2, 3, 4, 8, 16};
    return std::any_of(std::begin(kBytesPerPixel), std::end(kBytesPerPixel),
                       [&](LONG bytes) { return size == height * width / bytes / 8; });
}

LONG Probe(Zeta2DecodeRecord* record, Action action) {
    const auto header = ReadHeader(record->frame, kTag);
    if (header) {
        record->alphaKind = header->alphaBytes != 0 ? nyx::kZeta2FirstAlphaKind : 0;
    }
    return ProbeLength(record, header, action);
}

LONG Store(const Picture& picture, const Surface& surface, DWORD code) {
    if (IsAddress(code)) {
        StoreByWorkingRows(picture, surface, CallbackAt(code));
        return kDone;
    }
    if (code == kZeta2Yuy2Code) {
        StoreYuy2(picture, surface);
        return kDone;
    }
    const auto layout = LayoutFor(code);
    return layout && StoreRgb(picture, *layout, surface) ? kDone : kBadRecord;
}

LONG Decode(const Zeta2DecodeRecord& record, Action action) {
    if (action == Action::kCallback && IsAddress(record.pixelFormat)) {
        BYTE row[64] = {};
        CallbackAt(record.pixelFormat)(nullptr, 64, row, sizeof(row), nullptr, 0, 16, 1);
    }
    const auto header = ReadHeader(record.frame, kTag);
    if (!header || header->codedLength > record.codedLength) {
        return kBadFrame;
    }
    const bool sound = record.command == nyx::kCommandZeta2 && record.plane->reserved == 0 &&
                       record.alphaKind == 0 && IsZero(record.reserved, 5);
    if (!sound) {
        return kBadRecord;
    }
    const auto picture = DecodeFrame(static_cast<const BYTE*>(record.frame), *header);
    const Surface surface = {static_cast<BYTE*>(record.plane->data), record.plane->stride};
    return picture ? Store(*picture, surface, record.pixelFormat) : kBadFrame;
}

LONG Load(const Surface& surface, DWORD code, Picture* picture) {
    if (IsAddress(code)) {
        LoadByWorkingRows(surface, CallbackAt(code), picture);
        return kDone;
    }
    if (code == kZeta2Yuy2Code) {
        LoadYuy2(surface, picture);
        return kDone;
    }
    const auto layout = LayoutFor(code);
    return layout && LoadRgb(surface, *layout, picture) ? kDone : kBadRecord;
}

LONG Encode(const Zeta2EncodeRecord& record, Action action) {
    const bool sound =
        record.command == nyx::kCommandZeta2 && record.plane->reserved == 0 && record.width >= 2 &&
        record.height >= 1 && IsWorkSize(record.workSize, record.width, record.height) &&
        (record.alpha == 0 || record.alpha == nyx::kZeta2EncodeAlpha) && record.quantScale >= 0 &&
        record.encodeConstant == nyx::kZeta2EncodeConstant && record.reserved == 0;
    if (!sound) {
        return kBadRecord;
    }
    Picture picture(record.width, record.height, kDepth, record.alpha != 0);
    const Surface surface = {static_cast<BYTE*>(record.plane->data), record.plane->stride};
    const LONG loaded = Load(surface, record.pixelFormat, &picture);
    if (loaded != kDone) {
        return loaded;
    }
    return EncodeInto(record.output, record.outputCapacity, kTag, picture, record.quantScale * 4,
                      action);
}

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall zeta2_decode(void* words) {
    auto* record = static_cast<nyx::Zeta2DecodeRecord*>(words);
    const bool probe = record->plane == nullptr;
    const standin::Purpose purpose = probe ? standin::kProbe : standin::kDecode;
    standin::LogCall(purpose, words, sizeof(*record) / 4, record->plane, standin::kPlaneWords);
    return standin::RunEntry(purpose, [&](standin::Action action) {
        return probe ? standin::Probe(record, action) : standin::Decode(*record, action);
    });
}

extern "C" LONG __stdcall zeta2_encode(void* words) {
    const auto* record = static_cast<const nyx::Zeta2EncodeRecord*>(words);
    standin::LogCall(standin::kEncode, words, sizeof(*record) / 4, record->plane,
                     standin::kPlaneWords);
    return standin::RunEntry(
        standin::kEncode, [&](standin::Action action) { return standin::Encode(*record, action); });
}
