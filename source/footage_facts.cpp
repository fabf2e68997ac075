#include "source/footage_facts.h"

#include <algorithm>
#include <string_view>

#include "platform/fourcc.h"
#include "source/failures.h"
#include "source/footage_file.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

std::string NameOf(const AVCodecParameters& stream) {
    const AVCodecDescriptor* coding = avcodec_descriptor_get(stream.codec_id);
    return coding && coding->long_name ? coding->long_name : "unknown";
}

std::string VariantText(AVCodecID coding) {
    switch (coding) {
        case AV_CODEC_ID_MPEG2VIDEO:
            return "long-GOP MPEG-2; intra frames only";
        case AV_CODEC_ID_DVVIDEO:
            return "a variant of DV without a decoder";
        default:
            return "a picture size or rate out of range";
    }
}

std::string ShortName(const AVFormatContext& file) {
    const std::string_view kind = ContainerOf(file);
    return kind == kRawMpeg2 ? "m2v" : std::string(kind.substr(0, kind.find(',')));
}

/// A value of the file's metadata, or else of the first stream that has it; null without one.
const char* FindTag(const AVFormatContext& file, const char* key) {
    const AVDictionaryEntry* entry = av_dict_get(file.metadata, key, nullptr, 0);
    for (unsigned i = 0; !entry && i < file.nb_streams; ++i) {
        entry = av_dict_get(file.streams[i]->metadata, key, nullptr, 0);
    }
    return entry ? entry->value : nullptr;
}

std::string TextOf(const AVFormatContext& file, const char* key) {
    const char* text = FindTag(file, key);
    return text ? text : "";
}

std::optional<TimecodeTrack> FindTimecode(const AVFormatContext& file, AVRational rate) {
    const char* text = FindTag(file, "timecode");
    if (!text || ContainerOf(file) == kRawDv) {  // that one is a frame's, which has its own way
        return std::nullopt;
    }
    for (unsigned i = 0; i < file.nb_streams; ++i) {
        const AVStream& stream = *file.streams[i];
        if (stream.codecpar->codec_tag == FourCC("tmcd") && stream.avg_frame_rate.num > 0) {
            rate = stream.avg_frame_rate;
            break;
        }
    }
    TimecodeTrack track;
    if (av_timecode_init_from_string(&track.first, rate, text, nullptr) < 0) {
        return std::nullopt;
    }
    return track;
}

StreamFacts FactsOf(const AVCodecParameters& stream, int index) {
    const int exact = av_get_exact_bits_per_sample(stream.codec_id);
    StreamFacts facts = {.index = index, .video = stream.codec_type == AVMEDIA_TYPE_VIDEO};
    if (facts.video) {
        facts.fourcc = stream.codec_tag;
    } else {
        facts.channels = stream.ch_layout.nb_channels;
        facts.rate = stream.sample_rate;
        facts.bits = exact > 0 ? exact : stream.bits_per_coded_sample;
    }
    return facts;
}

}  // namespace

std::string StreamRefusal(const AVCodecParameters& stream, HRESULT reason) {
    switch (reason) {
        case kUnsupportedVideo:
            return VariantText(stream.codec_id);
        case kUnsupportedStream:
            return NameOf(stream) + " video";
        case kUnsupportedAudio:
            return NameOf(stream) + " audio";
        default:
            return "damaged";
    }
}

void FootageFile::ReadFacts() {
    const std::optional<VideoFormat>& video = streams_.front().video;
    facts_ = {.container = ShortName(*context_),
              .reel = TextOf(*context_, "reel_name"),
              .clip = TextOf(*context_, "material_package_name"),
              .timecode = FindTimecode(*context_, video ? video->rate : AVRational{})};
    if (facts_.clip.empty()) {
        facts_.clip = TextOf(*context_, "title");
    }
    if (facts_.timecode) {
        facts_.timecode->start = Difference(streams_.front().start, origin_);
    }
    for (const StreamFormat& stream : streams_) {
        facts_.streams.push_back(FactsOf(*context_->streams[stream.index]->codecpar, stream.index));
        facts_.streams.back().supported = true;
        facts_.streams.back().fourcc = stream.video ? stream.video->fourcc : 0;
    }
    for (const UnsupportedStream& stream : unsupported_) {
        const AVCodecParameters& parameters = *context_->streams[stream.index]->codecpar;
        facts_.streams.push_back(FactsOf(parameters, stream.index));
        facts_.streams.back().name = StreamRefusal(parameters, stream.reason);
    }
    std::ranges::sort(facts_.streams, {}, &StreamFacts::index);
}

}  // namespace nyx::source
