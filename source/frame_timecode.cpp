#include "source/frame_timecode.h"

#include <algorithm>
#include <vector>

#include "dv/dif_parser.h"
#include "source/disk_file.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

/// Two decimal digits, four bits each, within a mask; nothing above `max`.
std::optional<WORD> Digits(LONG payload, int byte, int mask, int max) {
    const int bits = static_cast<int>(payload) >> (8 * byte) & mask;
    const int value = (bits >> 4) * 10 + (bits & 15);
    return (bits & 15) <= 9 && value <= max ? std::optional(static_cast<WORD>(value))
                                            : std::nullopt;
}

/// The timecode pack of a frame, IEC 61834-4. A picture of 50 or 60 a second shares its number with
/// the one beside it.
std::optional<NyxTimecode> TimecodeOf(ByteSpan frame) {
    constexpr LONG kDropFrame = 0x40;
    CLvtDifParser parser;
    const HRESULT parsed = parser.Parse(frame.data(), frame.size());
    const LONG payload = parser.GetTimecodePack();
    const int rate = parser.GetSystemRate() / 2;
    const auto frames = Digits(payload, 0, 0x3F, rate - 1);
    const auto seconds = Digits(payload, 1, 0x7F, 59);
    const auto minutes = Digits(payload, 2, 0x7F, 59);
    const auto hours = Digits(payload, 3, 0x3F, 23);
    if (FAILED(parsed) || payload == -1 || !frames || !seconds || !minutes || !hours) {
        return std::nullopt;
    }
    const bool dropFrame = rate == 30 && (payload & kDropFrame) != 0;
    return NyxTimecode{.hours = *hours,
                       .minutes = *minutes,
                       .seconds = *seconds,
                       .frames = *frames,
                       .framesPerSecond = static_cast<WORD>(rate),
                       .dropFrame = static_cast<WORD>(dropFrame)};
}

}  // namespace

NyxTimecode CountTimecode(const TimecodeTrack& track, REFERENCE_TIME time) {
    const AVTimecode& first = track.first;
    const bool dropFrame = (first.flags & AV_TIMECODE_FLAG_DROPFRAME) != 0;
    const auto fps = static_cast<std::int64_t>(first.fps);
    // Of 30 frames a second, 108 an hour have no number: two a minute but for each tenth minute.
    const std::int64_t day = 24 * (3600 * fps - (dropFrame ? fps / 30 * 108 : 0));
    const std::int64_t passed =
        std::max<std::int64_t>(TickAt(Difference(time, track.start), av_inv_q(first.rate)), 0);
    int number = static_cast<int>((passed + first.start % day + day) % day);
    if (dropFrame) {
        number = av_timecode_adjust_ntsc_framenum2(number, static_cast<int>(fps));
    }
    const std::int64_t seconds = number / fps;
    return {.hours = static_cast<WORD>(seconds / 3600),
            .minutes = static_cast<WORD>(seconds / 60 % 60),
            .seconds = static_cast<WORD>(seconds % 60),
            .frames = static_cast<WORD>(number % fps),
            .framesPerSecond = static_cast<WORD>(fps),
            .dropFrame = dropFrame};
}

std::optional<NyxTimecode> FrameTimecodes::Read(const std::wstring& path, REFERENCE_TIME time) {
    if (!file_) {
        auto bytes = std::make_unique<DiskFile>();
        auto file = std::make_unique<FootageFile>();
        if (FAILED(bytes->Open(path.c_str())) || FAILED(file->Open(std::move(bytes)))) {
            return std::nullopt;
        }
        std::vector<bool> pictures(file->streams().size());
        pictures.front() = true;
        file->Select(pictures);
        file_ = std::move(file);
    }
    file_->LimitReading();
    Packet packet;
    if (FAILED(file_->Seek(time)) || file_->ReadPacket(&packet) != S_OK) {
        return std::nullopt;
    }
    std::vector<BYTE> frame(packet.size());
    return file_->Copy(packet, frame.data()) == S_OK ? TimecodeOf({frame.data(), frame.size()})
                                                     : std::nullopt;
}

}  // namespace nyx::source
