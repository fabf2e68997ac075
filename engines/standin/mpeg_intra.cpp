// "rkm2vi01.dll": 8-bit 4:2:2 frames that may be coded with extra lines at the top.

#include <algorithm>
#include <cstring>

#include "codecs/engine_records.h"
#include "engines/standin/call_log.h"
#include "engines/standin/coder.h"

namespace standin {
namespace {

using nyx::MpegIntraHeaderRecord;
using nyx::MpegIntraPictureRecord;

/// A sequence header's start code, as such frames begin with.
constexpr std::string_view kTag("\x00\x00\x01\xB3", 4);
constexpr int kDepth = 8;
constexpr std::size_t kCropWords = 3;

template <typename Record>
std::optional<FrameHeader> HeaderOf(const Record& record) {
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

LONG ReadSequence(const MpegIntraHeaderRecord& record) {
    if (!IsZero(record.state, sizeof(*record.state) / 4) || !IsZero(record.reserved, 11)) {
        return kBadRecord;
    }
    const auto header = HeaderOf(record);
    if (!header) {
        return kBadFrame;
    }
    record.state->codedHeight = header->height;
    return kDone;
}

/// The rows of a picture below the first `dropped`.
Picture Cropped(const Picture& picture, int dropped, int height) {
    Picture cropped(picture.width, height, picture.depth, false);
    const auto copy = [&](const Plane& from, Plane* to) {
        const std::uint16_t* first = from.row(dropped);
        std::copy(first, first + to->samples.size(), to->samples.begin());
    };
    copy(picture.y, &cropped.y);
    copy(picture.cb, &cropped.cb);
    copy(picture.cr, &cropped.cr);
    return cropped;
}

LONG DecodePicture(const MpegIntraPictureRecord& record) {
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
    const auto picture = DecodeFrame(static_cast<const BYTE*>(record.frame), *header);
    if (!picture) {
        return kBadFrame;
    }
    StoreYuy2(Cropped(*picture, dropped, record.height),
              {static_cast<BYTE*>(record.destination), record.stride});
    return kDone;
}

LONG EncodePicture(const BYTE* source, LONG stride, LONG width, LONG height, LONG quantScale,
                   BYTE* output, DWORD capacity) {
    Picture picture(width, height, kDepth, false);
    LoadYuy2({const_cast<BYTE*>(source), stride}, &picture);
    const float step = static_cast<float>(std::max(quantScale, LONG{1}));
    const std::vector<BYTE> frame = EncodeFrame(kTag, picture, step, capacity);
    if (frame.empty()) {
        return kNoRoom;
    }
    std::memcpy(output, frame.data(), frame.size());
    return static_cast<LONG>(frame.size());
}

}  // namespace
}  // namespace standin

extern "C" LONG __cdecl m2vi_decode(void* words) {
    const auto* picture = static_cast<const nyx::MpegIntraPictureRecord*>(words);
    const auto* header = static_cast<const nyx::MpegIntraHeaderRecord*>(words);
    const bool sequence = picture->destination == nullptr;
    const standin::Purpose purpose = sequence ? standin::kProbe : standin::kDecode;
    standin::LogCall(purpose, words, sizeof(*picture) / 4, sequence ? nullptr : picture->crop,
                     standin::kCropWords);
    return standin::RunEntry(purpose, [&](standin::Action) {
        return sequence ? standin::ReadSequence(*header) : standin::DecodePicture(*picture);
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
