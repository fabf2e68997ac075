// "rkm2vi01.dll": 8-bit 4:2:2 frames that may be coded with extra lines at the top.

#include <algorithm>
#include <cstring>

#include "codecs/engine_records.h"
#include "engines/standin/call_log.h"
#include "engines/standin/coder.h"

namespace standin {
namespace {

using nyx::MpegIntraRecord;

/// A sequence header's start code, as such frames begin with.
constexpr std::string_view kTag("\x00\x00\x01\xB3", 4);
constexpr RecordShape kRecordShape{14, {1, 2, 4, 14}};
constexpr RecordShape kCropShape{3, {}};
constexpr Codes kCodes = {.yuy2 = 0, .rgb24Step = 1, .rgb32Step = 1};  // "YUY2" only

std::optional<FrameHeader> HeaderOf(const MpegIntraRecord& record) {
    if (record.frameLength < sizeof(FrameHeader)) {
        return std::nullopt;
    }
    const auto header = ReadHeader(record.frame, kTag);
    return header && header->codedLength <= record.frameLength ? header : std::nullopt;
}

bool IsZero(const void* words, std::size_t count) {
    const auto* first = static_cast<const LONG*>(words);
    return std::all_of(first, first + count, [](LONG word) { return word == 0; });
}

LONG ReadSequence(const MpegIntraRecord& record) {
    const DWORD* const length = &record.frameLength;
    const auto* const end = reinterpret_cast<const DWORD*>(&record + 1);
    if (!IsZero(record.state, sizeof(*record.state) / 4) ||
        !IsZero(length + 1, static_cast<std::size_t>(end - length) - 1)) {
        return kBadRecord;
    }
    const auto header = HeaderOf(record);
    if (!header) {
        return kBadFrame;
    }
    record.state->codedHeight = header->height;
    return kDone;
}

LONG DecodePicture(const MpegIntraRecord& record) {
    if (!IsZero(record.state, sizeof(*record.state) / 4) || !IsZero(record.reserved, 5) ||
        record.bytesPerPixel != 2) {
        return kBadRecord;
    }
    const auto header = HeaderOf(record);
    const LONG dropped = record.crop ? record.crop->linesDroppedAtTop : 0;
    if (!header || header->width != record.width || dropped < 0 || record.height < 1 ||
        header->height - dropped < record.height) {
        return kBadFrame;
    }
    auto picture = DecodeFrame(record.frame, *header);
    if (!picture) {
        return kBadFrame;
    }
    const std::uint16_t* const first = picture->row(dropped);
    picture->samples.erase(picture->samples.begin(),
                           picture->samples.begin() + (first - picture->samples.data()));
    picture->height = record.height;
    Copy(Direction::kStore, kCodes, 0,
         {static_cast<BYTE*>(record.destination), record.stride, record.bytesPerPixel}, &*picture);
    return kDone;
}

LONG EncodePicture(const BYTE* source, LONG stride, LONG width, LONG height, LONG quantScale,
                   BYTE* output, DWORD capacity) {
    Picture picture(width, height, false);
    Copy(Direction::kLoad, kCodes, 0, {const_cast<BYTE*>(source), stride, 2}, &picture);
    return EncodeFrame(kTag, picture, quantScale * 4, output, capacity);
}

}  // namespace
}  // namespace standin

extern "C" LONG __cdecl m2vi_decode(void* words) {
    const auto* record = static_cast<const nyx::MpegIntraRecord*>(words);
    const bool sequence = record->destination == nullptr;
    const standin::Purpose purpose = sequence ? standin::kProbe : standin::kDecode;
    standin::LogCall(purpose, words, standin::kRecordShape, sequence ? nullptr : record->crop,
                     standin::kCropShape);
    return standin::RunEntry(purpose, [&](standin::Action) {
        return sequence ? standin::ReadSequence(*record) : standin::DecodePicture(*record);
    });
}

extern "C" LONG __cdecl standin_m2vi_encode(const BYTE* source, LONG stride, LONG width,
                                            LONG height, LONG quantScale, BYTE* output,
                                            DWORD capacity) {
    try {
        return standin::EncodePicture(source, stride, width, height, quantScale, output, capacity);
    } catch (const std::bad_alloc&) {
        return standin::kNoMemory;
    }
}
