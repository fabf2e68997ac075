#include "source/footage_description.h"

#include <oleauto.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <new>
#include <utility>

#include "baseclasses/streams.h"
#include "dv/dif_parser.h"
#include "media/dv_signals.h"
#include "platform/com.h"
#include "source/disk_file.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

std::wstring Wide(const std::string& text) {
    const int length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');  // UTF-8 has no fewer units
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), length)));
    return wide;
}

/// The container's timecode, which counts pictures of `rate` unless its track says otherwise.
std::optional<AVTimecode> FindTimecode(const FootageFile& file, AVRational rate) {
    const AVFormatContext& container = file.container();
    for (unsigned i = 0; i < container.nb_streams; ++i) {
        const AVStream& stream = *container.streams[i];
        if (stream.codecpar->codec_tag == FourCC("tmcd") && stream.avg_frame_rate.num > 0) {
            rate = stream.avg_frame_rate;
        }
    }
    AVTimecode first{};
    const bool found =
        ContainerOf(container) != kRawDv &&  // whose timecode is the first frame's
        av_timecode_init_from_string(&first, rate, file.Tag("timecode"), nullptr) >= 0 &&
        first.start >= 0 && first.start < INT_MAX / 2;
    first.flags |= AV_TIMECODE_FLAG_24HOURSMAX;
    return found ? std::optional(first) : std::nullopt;
}

/// The timecode that counts on from `first`, for the picture at `time` behind that one.
NyxTimecode CountTimecode(const AVTimecode& first, REFERENCE_TIME time) {
    const std::int64_t passed =
        std::clamp<std::int64_t>(TickAt(time, av_inv_q(first.rate)), 0, INT_MAX / 2);
    char text[AV_TIMECODE_STR_SIZE];
    av_timecode_make_string(&first, text, static_cast<int>(passed));
    NyxTimecode at{};
    at.framesPerSecond = static_cast<WORD>(first.fps);
    at.dropFrame = (first.flags & AV_TIMECODE_FLAG_DROPFRAME) != 0;
    std::sscanf(text, "%hu:%hu:%hu%*c%hu", &at.hours, &at.minutes, &at.seconds, &at.frames);
    return at;
}

/// The timecode pack of a frame, IEC 61834-4: pairs of decimal digits beside flags. A picture of 50
/// or 60 a second shares its number with the one beside it.
std::optional<NyxTimecode> TimecodeOf(ByteSpan frame) {
    constexpr LONG kDropFrame = 0x40;
    CLvtDifParser parser;
    const HRESULT parsed = parser.Parse(frame.data(), frame.size());
    const LONG payload = parser.GetTimecodePack();
    const int rate = parser.GetSystemRate() / 2;
    bool valid = SUCCEEDED(parsed) && payload != -1;
    const auto digits = [&](int byte, int mask, int max) {
        const int bits = static_cast<int>(payload) >> (8 * byte) & mask;
        const int value = (bits >> 4) * 10 + (bits & 15);
        valid = valid && (bits & 15) <= 9 && value <= max;
        return static_cast<WORD>(value);
    };
    const bool dropFrame = rate == 30 && (payload & kDropFrame) != 0;
    const NyxTimecode at = {.hours = digits(3, 0x3F, 23),
                            .minutes = digits(2, 0x7F, 59),
                            .seconds = digits(1, 0x7F, 59),
                            .frames = digits(0, 0x3F, rate - 1),
                            .framesPerSecond = static_cast<WORD>(rate),
                            .dropFrame = static_cast<WORD>(dropFrame)};
    return valid ? std::optional(at) : std::nullopt;
}

NyxStreamInfo InfoOf(const AVCodecParameters& stream) {
    NyxStreamInfo info{};
    info.majorType = MEDIATYPE_Video;
    info.fourcc = stream.codec_tag;
    if (stream.codec_type == AVMEDIA_TYPE_AUDIO) {
        const int bits = av_get_exact_bits_per_sample(stream.codec_id);
        info.majorType = MEDIATYPE_Audio;
        info.fourcc = 0;
        info.channels = static_cast<DWORD>(stream.ch_layout.nb_channels);
        info.samplesPerSecond = static_cast<DWORD>(stream.sample_rate);
        info.bitsPerSample = static_cast<DWORD>(bits > 0 ? bits : stream.bits_per_coded_sample);
    }
    return info;
}

}  // namespace

FootageDescription::Facts FootageDescription::FactsOf(const FootageFile& file) {
    const AVFormatContext& container = file.container();
    const StreamFormat& first = file.streams().front();
    const std::string names = ContainerOf(container) == kRawMpeg2 ? "m2v" : container.iformat->name;
    Facts facts = {.path = {},
                   .container = Wide(names.substr(0, names.find(','))),
                   .reel = Wide(file.Tag("reel_name")),
                   .clip = Wide(file.Tag("material_package_name"))};
    facts.clip = facts.clip.empty() ? Wide(file.Tag("title")) : facts.clip;
    facts.rate = first.video ? first.video->rate : AVRational{};
    facts.dv = first.video && FindDvSignalIf([&](const DvSignal& signal) {
                   return signal.fourcc == first.video->fourcc;
               });
    facts.timecode = FindTimecode(file, facts.rate);
    facts.firstPicture = file.BeginOf(first);
    return facts;
}

void FootageDescription::AddStreams(const FootageFile& file, std::span<const std::wstring> pins,
                                    Facts* facts) {
    const AVFormatContext& container = file.container();
    for (unsigned i = 0; i < container.nb_streams; ++i) {
        const auto index = static_cast<int>(i);
        NyxStreamInfo info = InfoOf(*container.streams[i]->codecpar);
        const auto given = std::ranges::find(file.streams(), index, &StreamFormat::index);
        const auto refused =
            std::ranges::find(file.unsupported(), index, &UnsupportedStream::index);
        std::wstring name;
        if (given != file.streams().end()) {
            info.pins = 1;
            info.fourcc = given->video ? given->video->fourcc : 0;
            name = pins[static_cast<std::size_t>(given - file.streams().begin())];
        } else if (refused != file.unsupported().end()) {
            name = Wide(refused->text);
        } else {
            continue;  // neither picture nor sound
        }
        name.copy(info.name, std::size(info.name) - 1);
        facts->streams.push_back(info);
    }
}

void FootageDescription::Describe(Facts facts) {
    const std::lock_guard lock(mutex_);
    facts_ = std::move(facts);
}

/// Calls `answer` with the facts, which belong to it meanwhile.
template <class Answer>
HRESULT FootageDescription::Give(Answer answer) try {
    const std::lock_guard lock(mutex_);
    return facts_ ? answer(*facts_) : VFW_E_WRONG_STATE;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT FootageDescription::GiveText(std::wstring Facts::*text, BSTR* to) {
    CheckPointer(to, E_POINTER);
    *to = nullptr;
    return Give([&](const Facts& facts) -> HRESULT {
        const std::wstring& from = facts.*text;
        *to = SysAllocStringLen(from.data(), static_cast<UINT>(from.size()));
        return !*to ? E_OUTOFMEMORY : from.empty() ? S_FALSE : S_OK;
    });
}

/// The subcode of the DV frame at a time, read through a handle and a reader of its own, which
/// leave the file's playback alone. Nothing when the file can no longer be read.
std::optional<NyxTimecode> FootageDescription::ReadTimecode(const std::wstring& path,
                                                            REFERENCE_TIME time) {
    if (!frames_) {
        auto bytes = std::make_unique<DiskFile>();
        auto file = std::make_unique<FootageFile>();
        if (FAILED(bytes->Open(path.c_str())) || FAILED(file->Open(std::move(bytes)))) {
            return std::nullopt;
        }
        std::vector<bool> pictures(file->streams().size());
        pictures.front() = true;
        file->Select(pictures);
        frames_ = std::move(file);
    }
    frames_->LimitReading();
    Packet packet;
    if (FAILED(frames_->Seek(time)) || frames_->ReadPacket(&packet) != S_OK) {
        return std::nullopt;
    }
    std::vector<BYTE> frame(packet.size());
    return frames_->Copy(packet, frame.data()) == S_OK ? TimecodeOf(frame) : std::nullopt;
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetTimecode(LONGLONG position, NyxTimecode* timecode,
                                                          NyxTimecodeOrigin* origin) {
    CheckPointer(timecode, E_POINTER);
    CheckPointer(origin, E_POINTER);
    *timecode = {};
    *origin = NyxTimecodeNone;
    return Give([&](const Facts& facts) {
        const REFERENCE_TIME last = std::max<REFERENCE_TIME>(facts.duration - 1, 0);
        const REFERENCE_TIME time = std::clamp<REFERENCE_TIME>(position, 0, last);
        if (facts.timecode) {
            *timecode = CountTimecode(*facts.timecode, Difference(time, facts.firstPicture));
            *origin = NyxTimecodeContainer;
        } else if (const auto found = facts.dv ? ReadTimecode(facts.path, time) : std::nullopt) {
            *timecode = *found;
            *origin = NyxTimecodeFrame;
        }
        return *origin == NyxTimecodeNone ? S_FALSE : S_OK;
    });
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetFrameRate(DWORD* numerator, DWORD* denominator) {
    CheckPointer(numerator, E_POINTER);
    CheckPointer(denominator, E_POINTER);
    return Give([&](const Facts& facts) {
        *numerator = static_cast<DWORD>(facts.rate.num);
        *denominator = static_cast<DWORD>(facts.rate.den);
        return facts.rate.num > 0 ? S_OK : S_FALSE;
    });
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetStreamCount(DWORD* count) {
    return Give([count](const Facts& facts) {
        return StoreOut(count, static_cast<DWORD>(facts.streams.size()));
    });
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetStream(DWORD index, NyxStreamInfo* info) {
    return Give([=](const Facts& facts) {
        return index < facts.streams.size() ? StoreOut(info, facts.streams[index]) : E_INVALIDARG;
    });
}

}  // namespace nyx::source
