#include "info_document.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dv/format_table.h"
#include "dv_description.h"
#include "graph_tools.h"
#include "platform/footage_info.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr int kSchemaVersion = 1;

bool HasInfo2(const MediaType& type) {
    return type.HasPicture() && type.formattype == FORMAT_VideoInfo2;
}

Json ScanOf(const MediaType& type) {
    if (!HasInfo2(type)) {
        return {};
    }
    const DWORD flags = type.Info2().dwInterlaceFlags;
    const LONG order = (flags & AMINTERLACE_Field1First) != 0 ? 0 : 1;
    return FieldOrderName((flags & AMINTERLACE_IsInterlaced) != 0 ? order : kProgressiveOrder);
}

Json AspectOf(const MediaType& type) {
    return HasInfo2(type) ? Json(Format("%lu:%lu", type.Info2().dwPictAspectRatioX,
                                        type.Info2().dwPictAspectRatioY))
                          : Json();
}

/// The sample's own flag; null when it has none.
Json Field1FirstOf(IMediaSample& sample) {
    constexpr DWORD kVideoFlagField1First = 0x4;  // of AM_SAMPLE2_PROPERTIES::dwTypeSpecificFlags
    const auto sample2 = As<IMediaSample2>(&sample);
    AM_SAMPLE2_PROPERTIES properties{};
    if (!sample2 ||
        FAILED(sample2->GetProperties(sizeof(properties), reinterpret_cast<BYTE*>(&properties)))) {
        return {};
    }
    return (properties.dwTypeSpecificFlags & kVideoFlagField1First) != 0;
}

/// A text of the source filter; null without one.
Json AskText(INyxFootageInfo* info, HRESULT (STDMETHODCALLTYPE INyxFootageInfo::*get)(BSTR*)) {
    BSTR text = nullptr;
    if (info == nullptr || FAILED((info->*get)(&text))) {
        return {};
    }
    const std::string out = Utf8(std::wstring_view(text, SysStringLen(text)));
    SysFreeString(text);
    return TextOrNull(out);
}

Json StartOf(INyxFootageInfo* info) {
    NyxTimecode start{};
    NyxTimecodeOrigin origin = NyxTimecodeNone;
    if (info == nullptr || info->GetTimecode(0, &start, &origin) != S_OK) {
        return {};
    }
    return {{"start", TimecodeText(start)},
            {"drop_frame", start.dropFrame != 0},
            {"frames_per_second", start.framesPerSecond},
            {"says", origin == NyxTimecodeFrame ? "frame" : "container"}};
}

Json StreamsOf(INyxFootageInfo* info) {
    Json streams = Json::array();
    NyxStreamInfo stream{};
    for (DWORD i = 0; info != nullptr && SUCCEEDED(info->GetStream(i, &stream)); ++i) {
        const bool video = stream.majorType == MEDIATYPE_Video;
        streams.push_back({{"kind", video ? "video" : "audio"},
                           {"supported", stream.pins != 0},
                           {"name", Utf8(stream.name)}});
        if (!video) {
            streams.back().update({{"channels", stream.channels},
                                   {"samples_per_second", stream.samplesPerSecond},
                                   {"bits_per_sample", stream.bitsPerSample}});
        } else if (stream.fourcc != 0) {
            streams.back()["fourcc"] = FourCCText(stream.fourcc);
        }
    }
    return streams;
}

Json VideoOf(const Footage& footage) {
    const MediaType& type = footage.Video().type;
    const BITMAPINFOHEADER& header = type.Header();
    const auto [frames, seconds] = RateOf(type);
    return {{"fourcc", FourCCText(header.biCompression)},
            {"width", header.biWidth},
            {"height", header.biHeight},
            {"bits_per_pixel", header.biBitCount},
            {"rate", Format("%ld/%ld", frames, seconds)},
            {"frames", footage.FrameCount()},
            {"bits_per_second", reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat)->dwBitRate},
            {"max_packet_bytes", header.biSizeImage},
            {"scan", ScanOf(type)},
            {"aspect", AspectOf(type)}};
}

}  // namespace

Json DescribeClip(const std::string& path, const Footage& footage) {
    const auto info = As<INyxFootageInfo>(FilterOf(footage.Video().pin.Get()));
    Json audio = Json::array();
    for (const SourceStream& stream : footage.Audio()) {
        const WAVEFORMATEX& wave = WaveFormatOf(stream.type);
        audio.push_back({{"channels", wave.nChannels},
                         {"samples_per_second", wave.nSamplesPerSec},
                         {"bits_per_sample", wave.wBitsPerSample},
                         {"float", stream.type.subtype == MEDIASUBTYPE_IEEE_FLOAT}});
    }
    return {{"version", kSchemaVersion},
            {"file", path},
            {"container", AskText(info.Get(), &INyxFootageInfo::GetContainer)},
            {"reel", AskText(info.Get(), &INyxFootageInfo::GetReelName)},
            {"clip", AskText(info.Get(), &INyxFootageInfo::GetClipName)},
            {"duration", static_cast<double>(footage.Duration()) / 1e7},
            {"timecode", StartOf(info.Get())},
            {"streams", StreamsOf(info.Get())},
            {"video", VideoOf(footage)},
            {"audio", std::move(audio)}};
}

void MeasurePeaks(const MediaType& type, IMediaSample& sample, std::vector<double>* peaks) {
    const WAVEFORMATEX& wave = WaveFormatOf(type);
    const std::size_t bytes = wave.wBitsPerSample / 8u;
    const auto size = static_cast<std::size_t>(sample.GetActualDataLength());
    peaks->resize(wave.nChannels);
    if (peaks->empty() || bytes == 0 || bytes > sizeof(std::uint32_t)) {
        return;
    }
    const BYTE* data = DataOf(sample);
    for (std::size_t i = 0; (i + 1) * bytes <= size; ++i) {
        std::uint32_t word = 0;  // a little-endian integer moves to its top
        std::memcpy(reinterpret_cast<BYTE*>(&word) + sizeof(word) - bytes, data + i * bytes, bytes);
        const double value = type.subtype == MEDIASUBTYPE_IEEE_FLOAT
                                 ? std::bit_cast<float>(word)
                                 : static_cast<std::int32_t>(word) / 2147483648.0;
        double& peak = (*peaks)[i % peaks->size()];
        peak = std::max(peak, std::abs(value));
    }
}

Json DescribePeaks(const std::vector<double>& peaks) {
    Json decibels = Json::array();
    for (const double peak : peaks) {
        decibels.push_back(peak > 0 ? Json(std::round(2000 * std::log10(peak)) / 100) : Json());
    }
    return decibels;
}

Json DescribePacket(const ArrivedFrame& frame) {
    const LONG size = frame.sample.GetActualDataLength();
    Json packet = {
        {"number", frame.index}, {"bytes", size}, {"key", frame.sample.IsSyncPoint() == S_OK}};
    const std::string code = FourCCText(frame.type.subtype.Data1);
    if (code == "QDVC" || code == "QDV5" || code == "QDVH") {
        packet["dv"] = ReadDvFrame(DataOf(frame.sample), static_cast<std::size_t>(size));
    }
    return packet;
}

Json DescribePicture(const ArrivedFrame& frame) {
    return {{"scan", ScanOf(frame.type)},
            {"interlace_flags", HasInfo2(frame.type) ? frame.type.Info2().dwInterlaceFlags : 0},
            {"aspect", AspectOf(frame.type)},
            {"field_1_first", Field1FirstOf(frame.sample)},
            {"new_type", frame.typeChanged}};
}

void StateScanAndAspect(Json* video, const Json& first) {
    const Json dv = MemberOf(MemberOf(first, "dv"), "picture");
    const Json picture = MemberOf(first, "picture");
    for (const char* key : {"scan", "aspect"}) {
        Json statement = {{"value", nullptr},
                          {"says", nullptr},
                          {"frame", MemberOf(dv, key)},
                          {"container", (*video)[key]},
                          {"decoder", MemberOf(picture, key)}};
        for (const char* source : {"frame", "container", "decoder"}) {
            if (statement["value"].is_null() && statement[source] != "0:0") {
                statement["value"] = statement[source];
                statement["says"] = statement[source].is_null() ? Json() : Json(source);
            }
        }
        (*video)[key] = std::move(statement);
    }
}

}  // namespace nyx::host
