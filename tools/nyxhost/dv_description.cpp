#include "dv_description.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "dv/dif_layout.h"
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
    {0, "top first"}, {1, "bottom first"}, {kProgressiveOrder, "progressive"}};

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

Json PictureOf(const FormatRecord& format) {
    if (format.fourCC == -1) {
        return {};
    }
    return {
        {"variant", NameOf(format.formatCode, kVariants)},
        {"system", format.systemRate == 60 ? "525/60" : "625/50"},
        {"width", format.codedWidth},
        {"height", format.codedHeight},
        {"rate", Format("%ld/%ld", long{format.frameRateNum}, long{format.frameRateDen})},
        {"scan", FieldOrderName(format.fieldOrder)},
        {"aspect", PictureAspectName(format)},
        {"pixel_aspect", Format("%ld:%ld", long{format.pixelAspectX}, long{format.pixelAspectY})}};
}

/// Groups channels that are recorded alike. A pack that replaces a missing one is in two slots and
/// counts once.
Json AudioOf(const DifState& state) {
    std::vector<std::pair<Json, LONG>> groups;  // and their channels
    for (std::size_t slot = 0; slot < kAudioSlots; ++slot) {
        const AudioRecord& record = state.audio[slot];
        const auto earlier = state.audioSource.begin() + static_cast<std::ptrdiff_t>(slot);
        if (record.channels <= 0 ||
            std::find(state.audioSource.begin(), earlier, *earlier) != earlier) {
            continue;
        }
        const Json recorded = {{"samples_per_second", record.sampleRate},
                               {"bits_per_sample", record.bitsPerSample},
                               {"samples", std::max<LONG>(record.samplesPerFrame, 0)},
                               {"locked", record.locked != 0}};
        auto group = std::ranges::find(groups, recorded, &std::pair<Json, LONG>::first);
        if (group == groups.end()) {
            group = groups.emplace(group, recorded, 0);
        }
        group->second += record.channels;
    }
    Json audio = Json::array();
    for (auto& [group, channels] : groups) {
        group["channels"] = channels;
        audio.push_back(std::move(group));
    }
    return audio;
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

long long NumberIn(const Json& object, const char* key) {
    return object[key].get<long long>();
}

}  // namespace

Json FieldOrderName(LONG order) {
    return TextOrNull(NameOf(order, kFieldOrders));
}

Json ReadDvFrame(const void* frame, std::size_t size) {
    CLvtDifParser parser;
    const bool recognised = SUCCEEDED(parser.Parse(frame, size));
    return {{"recognised", recognised},
            {"picture", PictureOf(parser.State().format)},
            {"audio", AudioOf(parser.State())},
            {"timecode", TextOrNull(TimecodeText(parser.GetTimecodePack()))},
            {"recording_date", TextOrNull(RecordingDateText(parser.GetRecDatePack()))},
            {"recording_time", TextOrNull(ClockText(parser.GetRecTimePack()))},
            {"damaged_blocks", CountDamagedBlocks(frame, size)}};
}

std::string DvPictureText(const Json& dv) {
    const Json& picture = dv["picture"];
    if (picture.is_null()) {
        return {};
    }
    const auto text = [&picture](const char* key) { return TextOf(picture[key]); };
    return text("variant") + ", " + text("system") +
           Format(", %lldx%lld, ", NumberIn(picture, "width"), NumberIn(picture, "height")) +
           text("rate") + ", " + text("scan") + ", " + text("aspect") + " (pixels " +
           text("pixel_aspect") + ")";
}

std::string DvAudioText(const Json& dv, bool withSamples) {
    std::string text;
    for (const Json& group : dv["audio"]) {
        const long long channels = NumberIn(group, "channels");
        const long long samples = withSamples ? NumberIn(group, "samples") : 0;
        text += text.empty() ? "" : "; ";
        text += Format(channels == 1 ? "%lld channel" : "%lld channels", channels);
        text += Format(", %lld Hz, %lld bits", NumberIn(group, "samples_per_second"),
                       NumberIn(group, "bits_per_sample"));
        text += samples > 0 ? Format(", %lld samples", samples) : "";
        text += group["locked"].get<bool>() ? ", locked" : ", unlocked";
    }
    return text;
}

std::string DvRecordingText(const Json& dv) {
    const std::string date = TextOf(dv["recording_date"]);
    const std::string time = TextOf(dv["recording_time"]);
    return date + (date.empty() || time.empty() ? "" : " ") + time;
}

std::string DescribeDvFrame(const Json& dv) {
    std::string text = dv["recognised"].get<bool>() ? "" : "not recognised";
    const auto add = [&text](const char* name, const std::string& part) {
        text += part.empty() ? "" : (text.empty() ? "" : "; ") + (name + part);
    };
    const long long damaged = NumberIn(dv, "damaged_blocks");
    add("", DvPictureText(dv));
    add("", DvAudioText(dv, true));
    add("timecode ", TextOf(dv["timecode"]));
    add("recorded ", DvRecordingText(dv));
    add("damaged blocks: ", damaged > 0 ? std::to_string(damaged) : "");
    return text;
}

}  // namespace nyx::host
