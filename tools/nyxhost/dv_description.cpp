#include "dv_description.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <span>

#include "dv/dif_layout.h"
#include "dv/dif_parser.h"
#include "text.h"
#include "timecode.h"

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
    {0, "top first"}, {1, "bottom first"}, {kProgressiveOrder, "progressive"}};

/// The name of a code; empty for an unknown one.
const char* NameOf(LONG code, std::span<const CodeName> names) {
    const auto found = std::ranges::find(names, code, &CodeName::code);
    return found != names.end() ? found->name : "";
}

bool IsRecordedAlike(const DvAudio& a, const AudioRecord& b) {
    return a.samplesPerSecond == b.sampleRate && a.bits == b.bitsPerSample &&
           a.samples == std::max<LONG>(b.samplesPerFrame, 0) && a.locked == (b.locked != 0);
}

/// Groups channels that are recorded alike. A pack that replaces a missing one is in two slots and
/// counts once.
std::vector<DvAudio> AudioGroups(const DifState& state) {
    std::vector<DvAudio> groups;
    for (std::size_t slot = 0; slot < kAudioSlots; ++slot) {
        const AudioRecord& record = state.audio[slot];
        const auto earlier = state.audioSource.begin() + static_cast<std::ptrdiff_t>(slot);
        if (record.channels <= 0 ||
            std::find(state.audioSource.begin(), earlier, *earlier) != earlier) {
            continue;
        }
        auto group = std::ranges::find_if(
            groups, [&](const DvAudio& other) { return IsRecordedAlike(other, record); });
        if (group == groups.end()) {
            group = groups.insert(group, {.samplesPerSecond = record.sampleRate,
                                          .bits = record.bitsPerSample,
                                          .samples = std::max<LONG>(record.samplesPerFrame, 0),
                                          .locked = record.locked != 0});
        }
        group->channels += record.channels;
    }
    return groups;
}

/// Hours, minutes and seconds of a time or timecode pack.
std::optional<NyxTimecode> ClockOf(LONG payload) {
    const auto hours = Digits(PayloadByte(payload, 3), 0x3F, 0, 23);
    const auto minutes = Digits(PayloadByte(payload, 2), 0x7F, 0, 59);
    const auto seconds = Digits(PayloadByte(payload, 1), 0x7F, 0, 59);
    if (!hours || !minutes || !seconds) {
        return std::nullopt;
    }
    return NyxTimecode{.hours = static_cast<WORD>(*hours),
                       .minutes = static_cast<WORD>(*minutes),
                       .seconds = static_cast<WORD>(*seconds),
                       .frames = 0,
                       .framesPerSecond = 0,
                       .dropFrame = 0};
}

/// The pack counts 25 or 30 pictures a second, above 30 pictures pairs of them.
std::optional<NyxTimecode> TimecodeOf(LONG payload, const FormatRecord& format) {
    constexpr unsigned kDropFrame = 0x40;
    const unsigned first = PayloadByte(payload, 0);
    const auto frames = Digits(first, 0x3F, 0, 29);
    std::optional<NyxTimecode> timecode = ClockOf(payload);
    if (!timecode || !frames) {
        return std::nullopt;
    }
    timecode->frames = static_cast<WORD>(*frames);
    timecode->framesPerSecond = format.systemRate == 50 ? 25 : 30;
    timecode->dropFrame = (first & kDropFrame) != 0 ? 1 : 0;
    return timecode;
}

/// Fills in date and time. Years from 75 on are 19xx.
void ReadRecording(CLvtDifParser& parser, DvFacts* facts) {
    const LONG date = parser.GetRecDatePack();
    const auto day = Digits(PayloadByte(date, 1), 0x3F, 1, 31);
    const auto month = Digits(PayloadByte(date, 2), 0x1F, 1, 12);
    const auto year = Digits(PayloadByte(date, 3), 0xFF, 0, 99);
    const auto clock = ClockOf(parser.GetRecTimePack());
    if (clock) {
        facts->time = TimecodeText(*clock).substr(0, 8);
    }
    if (!day || !month || !year) {
        return;
    }
    const int whole = static_cast<int>(*year) + (*year < 75 ? 2000 : 1900);
    facts->date = Format("%04d-%02u-%02u", whole, *month, *day);
    if (clock) {
        using namespace std::chrono;
        const sys_days midnight{std::chrono::year{whole} / static_cast<int>(*month) /
                                static_cast<int>(*day)};
        facts->recordedAt = (midnight.time_since_epoch() + hours{clock->hours} +
                             minutes{clock->minutes} + seconds{clock->seconds}) /
                            seconds{1};
    }
}

/// Video blocks whose STA, the upper four bits after the block's ID, is not 0 (IEC 61834-2, SMPTE
/// 314M): 2 to 14 for concealed data, 7 and 15 for wrong data.
std::size_t CountDamagedBlocks(const void* frame, std::size_t size) {
    constexpr BYTE kVideoSection = 4;
    const auto* bytes = static_cast<const BYTE*>(frame);
    std::size_t damaged = 0;
    for (std::size_t at = 0; at + kDifBlockBytes <= size; at += kDifBlockBytes) {
        damaged += bytes[at] >> 5 == kVideoSection && bytes[at + kDifBlockIdBytes] >> 4 != 0;
    }
    return damaged;
}

}  // namespace

const char* DvVariantName(const FormatRecord& format) {
    return NameOf(format.formatCode, kVariants);
}

// Recorded lines are a little wider than the picture, so the exact aspect of a 4:3 picture is
// 27:20.
const char* DvAspectName(const FormatRecord& format) {
    constexpr std::int64_t kBetween4By3And16By9 = 155;  // hundredths
    const std::int64_t x = std::int64_t{format.codedWidth} * format.pixelAspectX;
    const std::int64_t y = std::int64_t{format.codedHeight} * format.pixelAspectY;
    return 100 * x < kBetween4By3And16By9 * y ? "4:3" : "16:9";
}

const char* FieldOrderName(LONG order) {
    return NameOf(order, kFieldOrders);
}

DvFacts ReadDvFacts(const void* frame, std::size_t size) {
    CLvtDifParser parser;
    DvFacts facts;
    facts.recognised = SUCCEEDED(parser.Parse(frame, size));
    facts.format = parser.State().format;
    facts.audio = AudioGroups(parser.State());
    facts.timecode = TimecodeOf(parser.GetTimecodePack(), facts.format);
    ReadRecording(parser, &facts);
    facts.damagedBlocks = CountDamagedBlocks(frame, size);
    return facts;
}

std::string DvPictureText(const DvFacts& facts) {
    const FormatRecord& format = facts.format;
    if (format.fourCC == -1) {
        return {};
    }
    const std::string rate = Format(format.frameRateDen == 1 ? "%ld" : "%ld/%ld",
                                    long{format.frameRateNum}, long{format.frameRateDen});
    return Format("%s, %s, %ldx%ld, %s, %s, %s (pixels %ld:%ld)", DvVariantName(format),
                  format.systemRate == 60 ? "525/60" : "625/50", long{format.codedWidth},
                  long{format.codedHeight}, rate.c_str(), FieldOrderName(format.fieldOrder),
                  DvAspectName(format), long{format.pixelAspectX}, long{format.pixelAspectY});
}

std::string DvAudioText(const std::vector<DvAudio>& audio) {
    std::string text;
    for (const DvAudio& group : audio) {
        text += text.empty() ? "" : "; ";
        text += Format(group.channels == 1 ? "%ld channel" : "%ld channels", long{group.channels});
        text += Format(", %ld Hz, %ld bits", long{group.samplesPerSecond}, long{group.bits});
        text += group.samples > 0 ? Format(", %ld samples", long{group.samples}) : "";
        text += group.locked ? ", locked" : ", unlocked";
    }
    return text;
}

std::string DvRecordingText(const DvFacts& facts) {
    return facts.date + (facts.date.empty() || facts.time.empty() ? "" : " ") + facts.time;
}

std::string DescribeDvFrame(const DvFacts& facts) {
    std::string text = facts.recognised ? "" : "not recognised";
    const auto add = [&text](const char* name, const std::string& part) {
        text += part.empty() ? "" : (text.empty() ? "" : "; ") + (name + part);
    };
    add("", DvPictureText(facts));
    add("", DvAudioText(facts.audio));
    add("timecode ", facts.timecode ? TimecodeText(*facts.timecode) : "");
    add("recorded ", DvRecordingText(facts));
    add("", facts.damagedBlocks > 0 ? Format("%zu damaged blocks", facts.damagedBlocks) : "");
    return text;
}

}  // namespace nyx::host
