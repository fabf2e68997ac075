/// @file
/// FootageFile's streams: what they are, when they begin, how long they last, and why a file has
/// none to deliver.

#include <algorithm>

#include "source/failures.h"
#include "source/footage_file.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

/// Limits of what is read to describe a file's first frames or to count its frames.
constexpr int kMaxPacketsSeen = 2000;
constexpr std::int64_t kMaxBytesSeen = 128 << 20;

/// When a stream begins; the file's start for one without a start of its own.
REFERENCE_TIME StartOf(const AVFormatContext& file, const AVStream& stream) {
    if (stream.start_time != AV_NOPTS_VALUE) {
        return TimeOfTick(stream.start_time, stream.time_base);
    }
    return file.start_time != AV_NOPTS_VALUE ? TimeOfTick(file.start_time, AV_TIME_BASE_Q) : 0;
}

/// How long a stream that begins at `start` lasts, which the container may say of the file alone.
REFERENCE_TIME DurationOf(const AVFormatContext& file, const AVStream& stream,
                          REFERENCE_TIME start) {
    if (stream.duration != AV_NOPTS_VALUE) {
        return std::max<REFERENCE_TIME>(TimeOfTick(stream.duration, stream.time_base), 0);
    }
    const REFERENCE_TIME late = file.start_time != AV_NOPTS_VALUE
                                    ? Difference(start, TimeOfTick(file.start_time, AV_TIME_BASE_Q))
                                    : 0;
    return std::max<REFERENCE_TIME>(Difference(TimeOfTick(file.duration, AV_TIME_BASE_Q), late), 0);
}

/// Why a stream is not supported.
std::string ReasonText(const AVCodecParameters& stream, HRESULT reason) {
    if (reason == kUnsupportedVideo) {
        return stream.codec_id == AV_CODEC_ID_MPEG2VIDEO ? "long-GOP MPEG-2; intra frames only"
               : stream.codec_id == AV_CODEC_ID_DVVIDEO  ? "a variant of DV without a decoder"
                                                         : "a picture size or rate out of range";
    }
    const AVCodecDescriptor* coding = avcodec_descriptor_get(stream.codec_id);
    const std::string name = coding && coding->long_name ? coding->long_name : "unknown";
    return name + (reason == kUnsupportedAudio ? " audio" : " video");
}

}  // namespace

HRESULT FootageFile::FindStreams() {
    std::vector<Packets> seen;
    HRESULT result = ReadFirstFrames(&seen);
    bool anyVideo = false;
    for (unsigned i = 0; i < seen.size() && SUCCEEDED(result); ++i) {
        AVStream* stream = context_->streams[i];
        const REFERENCE_TIME start = StartOf(*context_, *stream);
        const StreamFormat format = {.index = static_cast<int>(i),
                                     .timeBase = stream->time_base,
                                     .start = start,
                                     .duration = DurationOf(*context_, *stream, start)};
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            anyVideo = true;
            result = AddVideo(stream, seen[i], format);
        } else if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            AddAudio(stream, format);
        }
    }
    if (FAILED(result)) {
        return result;
    }
    std::stable_partition(streams_.begin(), streams_.end(),
                          [](const StreamFormat& stream) { return stream.video.has_value(); });
    if (streams_.empty() || (anyVideo && !streams_.front().video)) {
        const auto video = std::find_if(unsupported_.rbegin(), unsupported_.rend(),
                                        [](auto& one) { return one.reason != kUnsupportedAudio; });
        return video != unsupported_.rend() ? video->reason : kUnsupportedStream;
    }
    if (ContainerOf(*context_) == kRawDv) {
        TimeRawDv(seen[static_cast<std::size_t>(streams_.front().index)]);
    }
    return S_OK;
}

/// Reads until there are enough frames of each stream to describe it.
HRESULT FootageFile::ReadFirstFrames(std::vector<Packets>* seen) {
    std::size_t missing = 0;
    for (unsigned i = 0; i < context_->nb_streams; ++i) {
        missing += FramesToSee(*context_->streams[i]->codecpar);
    }
    seen->resize(context_->nb_streams);
    std::int64_t bytes = 0;
    for (int i = 0; missing > 0 && i < kMaxPacketsSeen && bytes < kMaxBytesSeen; ++i) {
        LibavPtr<AVPacket> packet;
        const HRESULT result = ReadRaw(&packet);
        if (result != S_OK) {
            return result;
        }
        bytes += packet->size;
        const auto stream = static_cast<std::size_t>(packet->stream_index);
        if (stream < seen->size() &&
            (*seen)[stream].size() < FramesToSee(*context_->streams[stream]->codecpar)) {
            (*seen)[stream].push_back(std::move(packet));
            --missing;
        }
    }
    return S_OK;
}

/// Adds a stream of video, to the unsupported ones where it is one. Returns a failure of reading.
HRESULT FootageFile::AddVideo(AVStream* stream, const Packets& seen, StreamFormat format) {
    format.video.emplace();
    const HRESULT described = DescribeVideo(context_.get(), stream, seen, &*format.video);
    if (FAILED(described)) {
        unsupported_.push_back({format.index, described, ReasonText(*stream->codecpar, described)});
        return S_OK;
    }
    if (stream->duration == AV_NOPTS_VALUE) {  // the file's is rounded to microseconds, not frames
        const AVRational frame = av_inv_q(format.video->rate);
        format.duration = TimeOfTick(av_rescale_q(format.duration, {1, kUnits}, frame), frame);
    }
    if (ContainerOf(*context_) == kAvi &&
        format.duration > 0) {  // the last picture's ticks may be missing
        const std::int64_t ticks = FrameTicks(format);
        const std::int64_t count =
            TickAt(Difference(format.duration, 1), format.timeBase) / ticks + 1;
        format.duration = TimeOfTick(count * ticks, format.timeBase);
    }
    HRESULT result = S_OK;
    if (format.duration == 0 || ContainerOf(*context_) == kRawMpeg2) {
        result = CountFrames(seen, &format);
    }
    streams_.push_back(format);
    return result;
}

void FootageFile::AddAudio(AVStream* stream, StreamFormat format) {
    if (!DescribeAudio(*context_, *stream, &format.audio)) {
        unsupported_.push_back(
            {format.index, kUnsupportedAudio, ReasonText(*stream->codecpar, kUnsupportedAudio)});
        return;
    }
    streams_.push_back(format);
}

/// Finds out how long a file without times is: counts its frames, to its end if that is near, else
/// as if the rest were like them. `seen` holds the first frames, which were read already.
HRESULT FootageFile::CountFrames(const Packets& seen, StreamFormat* stream) {
    groups_.Start(stream->video->rate);
    std::int64_t count = 0;
    std::int64_t end = 1;  // of the frames that were counted
    const auto check = [&](const AVPacket& packet) {
        groups_.Check({packet.data, static_cast<std::size_t>(packet.size)}, count++);
        end = std::max<std::int64_t>(end, packet.pos + packet.size);
    };
    for (const auto& packet : seen) {
        check(*packet);
    }
    HRESULT result = S_OK;
    while (result == S_OK && input_.position() < kMaxBytesSeen) {
        LibavPtr<AVPacket> packet;
        result = ReadRaw(&packet);
        if (result == S_OK && packet->stream_index == stream->index) {
            check(*packet);
        }
    }
    if (result == S_OK) {
        count = av_rescale(count, input_.bytes()->Size(), end);
    }
    stream->duration = TimeOfTick(count, av_inv_q(stream->video->rate));
    return result;
}

/// Finds out how long raw DV lasts, in whole frames of a system that may change.
void FootageFile::TimeRawDv(const Packets& seen) {
    if (seen.empty()) {
        return;
    }
    const std::int64_t first = seen.front()->pos;
    rawDv_.Find(input_.bytes(), first);
    VideoFormat& video = *streams_.front().video;
    if (rawDv_.changes()) {
        const auto [shortest, longest] = rawDv_.FrameLengths();
        video.largestPacket = static_cast<DWORD>(longest);
        video.wholeFrame = static_cast<DWORD>(shortest);
    }
    for (StreamFormat& stream : streams_) {
        stream.duration =
            rawDv_.changes()
                ? rawDv_.StartAt(size())
                : TimeOfTick(Difference(size(), first) / video.wholeFrame, av_inv_q(video.rate));
    }
}

const char* FootageFile::Tag(const char* key) const {
    const AVDictionaryEntry* entry = av_dict_get(context_->metadata, key, nullptr, 0);
    for (unsigned i = 0; !entry && i < context_->nb_streams; ++i) {
        entry = av_dict_get(context_->streams[i]->metadata, key, nullptr, 0);
    }
    return entry ? entry->value : "";
}

std::string FootageFile::Refusal(HRESULT result) const {
    if (result == kUnknownFileType) {
        return size() == 0 ? "empty file" : "neither AVI, MOV, MXF, GXF, DV nor MPEG-2";
    }
    if (result == kInvalidFileFormat) {
        return "damaged file";
    }
    std::string text = "neither video nor audio";
    for (unsigned i = 0; context_ && i < context_->nb_streams; ++i) {
        const AVCodecParameters& stream = *context_->streams[i]->codecpar;
        if (stream.codec_type == AVMEDIA_TYPE_VIDEO) {
            text = ReasonText(stream, result);
            break;
        }
        if (stream.codec_type == AVMEDIA_TYPE_AUDIO) {
            text = "no video, and " + ReasonText(stream, kUnsupportedAudio);
        }
    }
    return result == kUnsupportedVideo || result == kUnsupportedStream ? text : "";
}

}  // namespace nyx::source
