#include "source/footage_description.h"

#include <oleauto.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <new>
#include <utility>

#include "baseclasses/streams.h"
#include "media/dv_signals.h"
#include "platform/com.h"

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
std::optional<TimecodeTrack> FindTimecode(const FootageFile& file, AVRational rate) {
    const AVFormatContext& container = file.container();
    if (ContainerOf(container) == kRawDv) {  // its timecode is the first frame's
        return std::nullopt;
    }
    for (unsigned i = 0; i < container.nb_streams; ++i) {
        const AVStream& stream = *container.streams[i];
        if (stream.codecpar->codec_tag == FourCC("tmcd") && stream.avg_frame_rate.num > 0) {
            rate = stream.avg_frame_rate;
        }
    }
    TimecodeTrack track;
    return av_timecode_init_from_string(&track.first, rate, file.Tag("timecode"), nullptr) < 0
               ? std::nullopt
               : std::optional(track);
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
    Facts facts = {.path = {},
                   .container = Wide(container.iformat->name),
                   .reel = Wide(file.Tag("reel_name")),
                   .clip = Wide(file.Tag("material_package_name"))};
    facts.container = ContainerOf(container) == kRawMpeg2
                          ? L"m2v"
                          : facts.container.substr(0, facts.container.find(L','));
    facts.clip = facts.clip.empty() ? Wide(file.Tag("title")) : facts.clip;
    facts.rate = first.video ? first.video->rate : AVRational{};
    facts.dv = first.video && FindDvSignalIf([&](const DvSignal& signal) {
                   return signal.fourcc == first.video->fourcc;
               });
    facts.timecode = FindTimecode(file, facts.rate);
    if (facts.timecode) {
        facts.timecode->start = file.BeginOf(first);
    }
    return facts;
}

void FootageDescription::AddStreams(const FootageFile& file,
                                    const std::function<std::wstring(std::size_t)>& nameOf,
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
            name = nameOf(static_cast<std::size_t>(given - file.streams().begin()));
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
            *timecode = CountTimecode(*facts.timecode, time);
            *origin = NyxTimecodeContainer;
        } else if (const auto found = facts.dv ? frames_.Read(facts.path, time) : std::nullopt) {
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
