#include "dv_description.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "dv/dif_parser.h"
#include "text.h"

namespace nyx::host {
namespace {

/// Byte `index` (0 is PC1) of a payload word.
unsigned PayloadByte(LONG payload, unsigned index) {
    return static_cast<DWORD>(payload) >> (8 * index) & 0xFF;
}

/// Two binary-coded decimal digits under `mask`, which removes flags from the tens; nothing for
/// other nibbles or a value outside `min`..`max`.
std::optional<unsigned> Digits(unsigned byte, unsigned mask, unsigned min, unsigned max) {
    const unsigned tens = (byte & mask) >> 4;
    const unsigned ones = byte & mask & 15;
    const unsigned value = tens * 10 + ones;
    if (tens > 9 || ones > 9 || value < min || value > max) {
        return std::nullopt;
    }
    return value;
}

struct CodeName {
    LONG code;
    const char* name;
};
constexpr CodeName kVariants[] = {{kFormatDv25, "DV25"},
                                  {kFormatDv25Locked, "DV25, locked audio"},
                                  {kFormatDvcPro25, "DVCPRO25"},
                                  {kFormatDvcPro50, "DVCPRO50"},
                                  {kFormatDvcProHd1080, "DVCPRO HD 1080i"},
                                  {kFormatDvcProHd1080Type15, "DVCPRO HD 1080i, signal type 0x15"},
                                  {kFormatDvcProHd720, "DVCPRO HD 720p"}};
constexpr CodeName kFieldOrders[] = {
    {0, "top field first"}, {1, "bottom field first"}, {2, "progressive"}};

/// The name of a code; empty for an unknown one.
const char* NameOf(LONG code, std::span<const CodeName> names) {
    const auto found = std::ranges::find(names, code, &CodeName::code);
    return found != names.end() ? found->name : "";
}

/// The nominal aspect. Recorded lines are a little wider than the picture, so the exact aspect of a
/// 4:3 picture is 27:20.
const char* PictureAspectName(const FormatRecord& format) {
    constexpr std::int64_t kBetween4By3And16By9 = 155;  // hundredths
    const std::int64_t x = std::int64_t{format.codedWidth} * format.pixelAspectX;
    const std::int64_t y = std::int64_t{format.codedHeight} * format.pixelAspectY;
    return 100 * x < kBetween4By3And16By9 * y ? "4:3" : "16:9";
}

std::string PictureText(const FormatRecord& format) {
    if (format.fourCC == -1) {
        return {};
    }
    const std::string rate = Format(format.frameRateDen == 1 ? "%ld" : "%ld/%ld",
                                    long{format.frameRateNum}, long{format.frameRateDen});
    return Format("%s, %s, %ldx%ld, %s, %s, %s (pixels %ld:%ld)",
                  NameOf(format.formatCode, kVariants),
                  format.systemRate == 60 ? "525/60" : "625/50", long{format.codedWidth},
                  long{format.codedHeight}, rate.c_str(), NameOf(format.fieldOrder, kFieldOrders),
                  PictureAspectName(format), long{format.pixelAspectX}, long{format.pixelAspectY});
}

std::string AudioText(LONG channels, const AudioRecord& record) {
    std::string text =
        Format(channels == 1 ? "%ld channel" : "%ld channels", static_cast<long>(channels));
    text += Format(", %ld Hz, %ld bits", static_cast<long>(record.sampleRate),
                   static_cast<long>(record.bitsPerSample));
    if (record.samplesPerFrame > 0) {
        text += Format(", %ld samples", static_cast<long>(record.samplesPerFrame));
    }
    return text + (record.locked ? ", locked" : ", unlocked");
}

bool IsRecordedAlike(const AudioRecord& a, const AudioRecord& b) {
    return a.sampleRate == b.sampleRate && a.bitsPerSample == b.bitsPerSample &&
           a.samplesPerFrame == b.samplesPerFrame && a.locked == b.locked;
}

/// Groups channels that are recorded alike. A pack that replaces a missing one is in two slots and
/// counts once.
std::string DescribeAudio(const DifState& state) {
    std::string text;
    std::array<bool, kAudioSlots> done{};
    for (std::size_t slot = 0; slot < kAudioSlots; ++slot) {
        const auto earlier = state.audioSource.begin() + static_cast<std::ptrdiff_t>(slot);
        done[slot] = state.audio[slot].channels <= 0 ||
                     std::find(state.audioSource.begin(), earlier, *earlier) != earlier;
    }
    for (std::size_t slot = 0; slot < kAudioSlots; ++slot) {
        if (done[slot]) {
            continue;
        }
        LONG channels = 0;
        for (std::size_t other = slot; other < kAudioSlots; ++other) {
            if (!done[other] && IsRecordedAlike(state.audio[slot], state.audio[other])) {
                channels += state.audio[other].channels;
                done[other] = true;
            }
        }
        text += (text.empty() ? "" : "; ") + AudioText(channels, state.audio[slot]);
    }
    return text;
}

/// Empty for -1 and for digits outside a clock's range.
std::string ClockText(LONG payload) {
    const auto hours = Digits(PayloadByte(payload, 3), 0x3F, 0, 23);
    const auto minutes = Digits(PayloadByte(payload, 2), 0x7F, 0, 59);
    const auto seconds = Digits(PayloadByte(payload, 1), 0x7F, 0, 59);
    if (!hours || !minutes || !seconds) {
        return {};
    }
    return Format("%02u:%02u:%02u", *hours, *minutes, *seconds);
}

std::string TimecodeText(LONG payload) {
    constexpr unsigned kDropFrame = 0x40;
    const unsigned first = PayloadByte(payload, 0);
    const auto frames = Digits(first, 0x3F, 0, 29);
    const std::string clock = ClockText(payload);
    if (payload == -1 || !frames || clock.empty()) {
        return {};
    }
    return clock + Format((first & kDropFrame) ? ";%02u" : ":%02u", *frames);
}

/// Years from 75 on are 19xx.
std::string RecordingDateText(LONG payload) {
    const auto day = Digits(PayloadByte(payload, 1), 0x3F, 1, 31);
    const auto month = Digits(PayloadByte(payload, 2), 0x1F, 1, 12);
    const auto year = Digits(PayloadByte(payload, 3), 0xFF, 0, 99);
    if (!day || !month || !year) {
        return {};
    }
    return Format("%04u-%02u-%02u", *year + (*year < 75 ? 2000 : 1900), *month, *day);
}

}  // namespace

std::string DescribeDvFrame(const void* frame, std::size_t size) {
    CLvtDifParser parser;
    std::string text = SUCCEEDED(parser.Parse(frame, size)) ? "" : "not recognised";
    const auto add = [&text](const std::string& part) {
        text += (text.empty() || part.empty() ? "" : "; ") + part;
    };
    add(PictureText(parser.State().format));
    add(DescribeAudio(parser.State()));
    const std::string timecode = TimecodeText(parser.GetTimecodePack());
    add(timecode.empty() ? "" : "timecode " + timecode);
    const std::string date = RecordingDateText(parser.GetRecDatePack());
    const std::string time = ClockText(parser.GetRecTimePack());
    const std::string gap = date.empty() || time.empty() ? "" : " ";
    add(date.empty() && time.empty() ? "" : "recorded " + date + gap + time);
    return text;
}

}  // namespace nyx::host
