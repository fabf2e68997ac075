#include "info_json.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "text.h"
#include "timecode.h"

namespace nyx::host {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;

/// Null for an empty text, and for an aspect that a type leaves open.
Json TextOrNull(const std::string& text) {
    return text.empty() || text == "0:0" ? Json() : Json(text);
}

/// A value and who says so. The DV frame's own data come first, then the container; the decoder may
/// have assumed its value.
Json Statement(const std::string& frame, const std::string& container, const std::string& decoder) {
    Json statement = {{"value", nullptr}, {"says", nullptr}};
    const std::pair<const char*, const std::string&> sources[] = {
        {"frame", frame}, {"container", container}, {"decoder", decoder}};
    for (const auto& [name, text] : sources) {
        statement[name] = TextOrNull(text);
        if (statement["value"].is_null() && !statement[name].is_null()) {
            statement["value"] = statement[name];
            statement["says"] = name;
        }
    }
    return statement;
}

Json TimecodeJson(const ContainerFacts& facts) {
    if (!facts.start) {
        return {};
    }
    return {{"start", TimecodeText(*facts.start)},
            {"drop_frame", facts.start->dropFrame != 0},
            {"frames_per_second", facts.start->framesPerSecond},
            {"says", facts.startFromFrame ? "frame" : "container"}};
}

Json StreamsJson(const ContainerFacts& facts) {
    Json streams = Json::array();
    for (const NyxStreamInfo& stream : facts.streams) {
        const bool video = stream.majorType == MEDIATYPE_Video;
        Json entry = {{"kind", video ? "video" : "audio"},
                      {"supported", stream.pins != 0},
                      {"name", Utf8(stream.name)}};
        if (video) {
            entry["fourcc"] = stream.fourcc != 0 ? Json(FourCCText(stream.fourcc)) : Json();
        } else {
            entry["channels"] = stream.channels;
            entry["samples_per_second"] = stream.samplesPerSecond;
            entry["bits_per_sample"] = stream.bitsPerSample;
        }
        streams.push_back(std::move(entry));
    }
    return streams;
}

Json VideoJson(const ClipFacts& facts) {
    const BITMAPINFOHEADER& header = facts.video.Header();
    const auto [frames, seconds] = RateOf(facts.video);
    const PictureFacts container = PictureFactsOf(facts.video);
    PictureFacts frame;
    PictureFacts decoder;
    if (!facts.frames.empty()) {
        const FrameFacts& first = facts.frames.begin()->second;
        if (first.dv && first.dv->format.fourCC != -1) {
            frame.fieldOrder = first.dv->format.fieldOrder;
            frame.aspect = DvAspectName(first.dv->format);
        }
        decoder = first.picture.value_or(decoder);
    }
    return {
        {"fourcc", FourCCText(header.biCompression)},
        {"width", header.biWidth},
        {"height", header.biHeight},
        {"bits_per_pixel", header.biBitCount},
        {"rate", Format("%ld/%ld", frames, seconds)},
        {"frames", facts.frameCount},
        {"bits_per_second",
         reinterpret_cast<const VIDEOINFOHEADER*>(facts.video.pbFormat)->dwBitRate},
        {"max_packet_bytes", header.biSizeImage},
        {"scan", Statement(FieldOrderName(frame.fieldOrder), FieldOrderName(container.fieldOrder),
                           FieldOrderName(decoder.fieldOrder))},
        {"aspect", Statement(frame.aspect, container.aspect, decoder.aspect)}};
}

Json AudioJson(const ClipFacts& facts) {
    Json streams = Json::array();
    for (const AudioFacts& stream : facts.audio) {
        const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(stream.type.pbFormat);
        Json peaks = Json::array();
        for (const double peak : stream.peaks) {
            peaks.push_back(std::round(100 * peak) / 100);
        }
        streams.push_back({{"channels", wave.nChannels},
                           {"samples_per_second", wave.nSamplesPerSec},
                           {"bits_per_sample", wave.wBitsPerSample},
                           {"float", stream.type.subtype == MEDIASUBTYPE_IEEE_FLOAT},
                           {"peak_dbfs", std::move(peaks)}});
    }
    return streams;
}

Json DvJson(const DvFacts& facts) {
    const FormatRecord& format = facts.format;
    Json dv = {{"recognised", facts.recognised}, {"picture", nullptr}, {"audio", Json::array()}};
    if (format.fourCC != -1) {
        dv["picture"] = {
            {"variant", DvVariantName(format)},
            {"system", format.systemRate == 60 ? "525/60" : "625/50"},
            {"width", format.codedWidth},
            {"height", format.codedHeight},
            {"rate", Format("%ld/%ld", long{format.frameRateNum}, long{format.frameRateDen})},
            {"scan", FieldOrderName(format.fieldOrder)},
            {"aspect", DvAspectName(format)},
            {"pixel_aspect",
             Format("%ld:%ld", long{format.pixelAspectX}, long{format.pixelAspectY})}};
    }
    for (const DvAudio& group : facts.audio) {
        dv["audio"].push_back({{"channels", group.channels},
                               {"samples_per_second", group.samplesPerSecond},
                               {"bits_per_sample", group.bits},
                               {"samples", group.samples},
                               {"locked", group.locked}});
    }
    dv["timecode"] = facts.timecode ? Json(TimecodeText(*facts.timecode)) : Json();
    dv["recording_date"] = TextOrNull(facts.date);
    dv["recording_time"] = TextOrNull(facts.time);
    dv["damaged_blocks"] = facts.damagedBlocks;
    return dv;
}

Json FramesJson(const ClipFacts& facts) {
    Json frames = Json::array();
    for (const auto& [index, frame] : facts.frames) {
        Json entry = {{"number", index}, {"bytes", frame.bytes}, {"key", frame.isKey}};
        if (frame.picture) {
            const PictureFacts& picture = *frame.picture;
            entry["picture"] = {
                {"scan", TextOrNull(FieldOrderName(picture.fieldOrder))},
                {"interlace_flags", picture.flags},
                {"aspect", TextOrNull(picture.aspect)},
                {"field_1_first", picture.field1First ? Json(*picture.field1First) : Json()},
                {"new_type", picture.newType}};
        } else if (frame.refused) {
            entry["error"] = ResultText(*frame.refused);
        }
        if (frame.dv) {
            entry["dv"] = DvJson(*frame.dv);
        }
        frames.push_back(std::move(entry));
    }
    return frames;
}

Json SummaryJson(const TapeSummary& summary) {
    Json events = Json::array();
    for (const TapeEvent& event : summary.Events()) {
        Json entry = {{"event", event.kind}, {"frame", event.frame}, {"frames", event.frames}};
        if (!event.after.empty()) {
            entry["before"] = event.before;
            entry["after"] = event.after;
        } else {
            entry["damaged_blocks"] = event.blocks;
        }
        events.push_back(std::move(entry));
    }
    return {{"dv_frames", summary.Frames()},
            {"damaged_frames", summary.DamagedFrames()},
            {"damaged_blocks", summary.DamagedBlocks()},
            {"events", std::move(events)}};
}

}  // namespace

std::string InfoJson(const ClipFacts& facts, const TapeSummary* summary) {
    Json document = {{"version", kSchemaVersion},
                     {"file", facts.path},
                     {"container", TextOrNull(facts.container.container)},
                     {"reel", TextOrNull(facts.container.reel)},
                     {"clip", TextOrNull(facts.container.clip)},
                     {"duration", static_cast<double>(facts.duration) / 1e7},
                     {"timecode", TimecodeJson(facts.container)},
                     {"streams", StreamsJson(facts.container)},
                     {"video", VideoJson(facts)},
                     {"audio", AudioJson(facts)}};
    if (summary != nullptr) {
        document["summary"] = SummaryJson(*summary);
    } else {
        document["decoder"] = TextOrNull(facts.decoder);
        document["problem"] = TextOrNull(facts.problem);
        document["frames"] = FramesJson(facts);
    }
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace nyx::host
