#include "source/footage_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "source/failures.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

constexpr int kInputBytes = 1 << 16;
/// What is read to see a file's first frames: enough for any of ours, little enough for any other.
constexpr int kMostPacketsSeen = 2000;
constexpr std::int64_t kMostBytesSeen = 128 << 20;
/// A packet of sound in GXF may begin so much before the picture that it goes with.
constexpr REFERENCE_TIME kLongestSound = kUnits;

constexpr char kKinds[] = "avi,dv,gxf,mov,mp4,m4a,3gp,3g2,mj2,mpegvideo,mxf";

}  // namespace

int FootageFile::ReadBytes(void* self, std::uint8_t* to, int count) {
    auto* file = static_cast<FootageFile*>(self);
    if (file->cancelled_) {
        return AVERROR_EXIT;
    }
    const int got = file->bytes_->Read(file->position_, to, count);
    if (got < 0) {
        file->readFailed_ = true;
        return AVERROR(EIO);
    }
    file->position_ += got;
    return got == 0 ? AVERROR_EOF : got;
}

std::int64_t FootageFile::SeekBytes(void* self, std::int64_t offset, int whence) {
    auto* file = static_cast<FootageFile*>(self);
    if (whence == AVSEEK_SIZE) {
        return file->bytes_->Size();
    }
    const std::int64_t base = whence == SEEK_CUR   ? file->position_
                              : whence == SEEK_END ? file->bytes_->Size()
                                                   : 0;
    const std::int64_t position = av_sat_add64(base, offset);
    if (position < 0) {
        return AVERROR(EINVAL);
    }
    return file->position_ = position;
}

HRESULT FootageFile::ResultOf(int error) const {
    if (error >= 0) {
        return S_OK;
    }
    if (error == AVERROR(ENOMEM)) {
        return E_OUTOFMEMORY;
    }
    if (cancelled_) {
        return E_ABORT;
    }
    return readFailed_ ? bytes_->failure() : kInvalidFileFormat;
}

HRESULT FootageFile::OpenContainer() {
    context_.reset();
    input_.reset();
    position_ = 0;
    readFailed_ = false;
    auto* buffer = static_cast<unsigned char*>(av_malloc(kInputBytes));
    if (!buffer) {
        return E_OUTOFMEMORY;
    }
    input_.reset(avio_alloc_context(buffer, kInputBytes, 0, this, ReadBytes, nullptr, SeekBytes));
    if (!input_) {
        av_free(buffer);
        return E_OUTOFMEMORY;
    }
    AVFormatContext* context = avformat_alloc_context();
    if (!context) {
        return E_OUTOFMEMORY;
    }
    context->pb = input_.get();
    context->flags |= AVFMT_FLAG_DISCARD_CORRUPT;
    // Containers alone: no frame is decoded to learn more of it, no other file opened.
    context->format_whitelist = av_strdup(kKinds);
    context->codec_whitelist = av_strdup("none");
    context->protocol_whitelist = av_strdup("none");
    if (!context->format_whitelist || !context->codec_whitelist || !context->protocol_whitelist) {
        avformat_free_context(context);
        return E_OUTOFMEMORY;
    }
    const AVInputFormat* kind = nullptr;
    int error = av_probe_input_buffer2(input_.get(), &kind, "", nullptr, 0, 0);
    if (error < 0) {
        avformat_free_context(context);
        const HRESULT result = ResultOf(error);
        return result == kInvalidFileFormat ? kUnknownFileType : result;
    }
    error = avformat_open_input(&context, "", kind, nullptr);  // frees the context when it fails
    if (error < 0) {
        return ResultOf(error);
    }
    context_.reset(context);
    error = avformat_find_stream_info(context, nullptr);
    context->bit_rate = 0;  // by which the MXF reader would guess a place when it has no index
    return ResultOf(error);
}

HRESULT FootageFile::Open(std::unique_ptr<ByteSource> bytes) {
    av_log_set_level(AV_LOG_QUIET);
    bytes_ = std::move(bytes);
    HRESULT result = OpenContainer();
    if (SUCCEEDED(result)) {
        result = FindStreams();
    }
    if (SUCCEEDED(result)) {
        SetOrigin();
        wanted_.assign(streams_.size(), true);
        result = Seek(0);
    }
    return result;
}

/// Reads until enough frames of each stream were seen to describe it.
HRESULT FootageFile::SeeFirstFrames(std::vector<std::vector<LibavPtr<AVPacket>>>* seen) {
    std::vector<int> missing;
    for (unsigned i = 0; i < context_->nb_streams; ++i) {
        missing.push_back(FramesToSee(*context_->streams[i]->codecpar));
    }
    seen->resize(missing.size());
    std::int64_t bytes = 0;
    for (int packets = 0; packets < kMostPacketsSeen && bytes < kMostBytesSeen; ++packets) {
        if (std::all_of(missing.begin(), missing.end(), [](int count) { return count <= 0; })) {
            break;
        }
        LibavPtr<AVPacket> packet;
        const HRESULT result = ReadRaw(&packet);
        if (FAILED(result)) {
            return result;
        }
        if (result == S_FALSE) {
            break;
        }
        bytes += packet->size;
        const auto stream = static_cast<std::size_t>(packet->stream_index);
        if (stream < missing.size() && missing[stream] > 0) {
            --missing[stream];
            (*seen)[stream].push_back(std::move(packet));
        }
    }
    return S_OK;
}

HRESULT FootageFile::FindStreams() {
    std::vector<std::vector<LibavPtr<AVPacket>>> seen;
    const HRESULT result = SeeFirstFrames(&seen);
    if (FAILED(result)) {
        return result;
    }
    HRESULT refusal = kUnsupportedStream;
    bool anyVideo = false;
    for (unsigned i = 0; i < seen.size(); ++i) {
        AVStream* stream = context_->streams[i];
        StreamFormat format;
        format.index = static_cast<int>(i);
        format.timeBase = stream->time_base;
        const bool timed = stream->duration != AV_NOPTS_VALUE;
        format.duration =
            std::max<REFERENCE_TIME>(timed ? TimeOfTick(stream->duration, stream->time_base)
                                           : TimeOfTick(context_->duration, AV_TIME_BASE_Q),
                                     0);
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            anyVideo = true;
            format.video.emplace();
            const HRESULT described =
                DescribeVideo(context_.get(), stream, seen[i], &*format.video);
            if (FAILED(described)) {
                refusal = described;
                continue;
            }
            if (format.duration == 0) {
                const HRESULT counted = CountFrames(seen[i], &format);
                if (FAILED(counted)) {
                    return counted;
                }
            }
        } else if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO ||
                   !DescribeAudio(*stream->codecpar, &format.audio)) {
            continue;
        }
        streams_.push_back(format);
    }
    std::stable_partition(streams_.begin(), streams_.end(),
                          [](const StreamFormat& stream) { return stream.video.has_value(); });
    return streams_.empty() || (anyVideo && !streams_.front().video) ? refusal : S_OK;
}

/// How long a file without times is: its frames are counted, to its end if that is not far, else as
/// if the rest were like them. The first frames were seen already.
HRESULT FootageFile::CountFrames(const std::vector<LibavPtr<AVPacket>>& seen,
                                 StreamFormat* stream) {
    std::int64_t bytes = 0;
    for (const auto& packet : seen) {
        bytes += packet->size;
    }
    auto count = static_cast<std::int64_t>(seen.size());
    HRESULT result = S_OK;
    while (bytes < kMostBytesSeen) {
        LibavPtr<AVPacket> packet;
        result = ReadRaw(&packet);
        if (result != S_OK) {
            break;
        }
        bytes += packet->size;
        count += packet->stream_index == stream->index ? 1 : 0;
    }
    if (result == S_OK) {
        count = av_rescale(bytes_->Size(), count, bytes);
    }
    stream->duration = TimeOfTick(count, av_inv_q(stream->video->rate));
    return FAILED(result) ? result : S_OK;
}

void FootageFile::SetOrigin() {
    const StreamFormat& first = streams_.front();
    const std::int64_t start = context_->streams[first.index]->start_time;
    origin_ = start == AV_NOPTS_VALUE ? 0 : TimeOfTick(start, first.timeBase);
}

REFERENCE_TIME FootageFile::duration() const {
    REFERENCE_TIME longest = 0;
    for (const StreamFormat& stream : streams_) {
        longest = std::max(longest, stream.duration);
    }
    return longest;
}

void FootageFile::Select(const std::vector<bool>& wanted) {
    wanted_ = wanted;
    if (context_) {
        SkipUnwanted();
    }
}

/// Lets the container pass over what nobody wants, where it can.
void FootageFile::SkipUnwanted() {
    for (unsigned i = 0; i < context_->nb_streams; ++i) {
        context_->streams[i]->discard = AVDISCARD_ALL;
    }
    for (std::size_t i = 0; i < streams_.size(); ++i) {
        if (wanted_[i]) {
            context_->streams[streams_[i].index]->discard = AVDISCARD_DEFAULT;
        }
    }
}

HRESULT FootageFile::Restart() {
    const HRESULT result = OpenContainer();
    if (FAILED(result)) {
        return result;
    }
    const bool same = std::all_of(streams_.begin(), streams_.end(), [&](const StreamFormat& one) {
        return static_cast<unsigned>(one.index) < context_->nb_streams;
    });
    if (!same) {
        return kInvalidFileFormat;
    }
    SkipUnwanted();
    return S_OK;
}

HRESULT FootageFile::Seek(REFERENCE_TIME time) {
    from_ = time;
    checkLanding_ = true;
    next_.assign(streams_.size(), AV_NOPTS_VALUE);
    readFailed_ = false;
    if (!context_) {  // a restart was cancelled
        const HRESULT result = Restart();
        if (FAILED(result)) {
            return result;
        }
    }
    const StreamFormat& first = streams_.front();
    REFERENCE_TIME place = av_sat_add64(time, origin_);
    if (IsFieldCounted()) {
        place = Difference(place, kLongestSound);
    }
    input_->error = 0;
    const int error = av_seek_frame(context_.get(), first.index, TickAt(place, first.timeBase),
                                    AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    return error < 0 ? Restart() : S_OK;
}

/// The next packet of any stream; `S_FALSE` at the end.
HRESULT FootageFile::ReadRaw(LibavPtr<AVPacket>* packet) {
    packet->reset(av_packet_alloc());
    if (!*packet) {
        return E_OUTOFMEMORY;
    }
    const int error = av_read_frame(context_.get(), packet->get());
    if (error >= 0) {
        return S_OK;
    }
    const HRESULT result = ResultOf(error);
    // Behind the last thing that can be made out there is nothing, whatever it is.
    return result == kInvalidFileFormat ? S_FALSE : result;
}

/// Gives a packet its times; false when it is not to be delivered.
bool FootageFile::TimePacket(Packet* packet) {
    const StreamFormat& stream = streams_[packet->stream];
    if (stream.video) {
        TimePicture(*stream.video, packet);
        return packet->data->size >= static_cast<std::int64_t>(stream.video->wholeFrame) &&
               packet->stop > from_;
    }
    TimeSound(stream.audio, packet);
    return packet->stop > from_;
}

void FootageFile::TimePicture(const VideoFormat& format, Packet* packet) {
    const AVRational base = streams_[packet->stream].timeBase;
    const AVPacket& data = *packet->data;
    std::int64_t& next = next_[packet->stream];
    std::int64_t tick = data.pts != AV_NOPTS_VALUE ? data.pts : data.dts;
    if (tick == AV_NOPTS_VALUE) {
        tick = next != AV_NOPTS_VALUE ? next : TickAt(origin_, base);
    }
    // Where fields are counted, what is said to last one is a frame all the same.
    const bool counted = data.duration > 0 && !IsFieldCounted();
    const std::int64_t length =
        counted ? data.duration : av_rescale_q(1, av_inv_q(format.rate), base);
    next = av_sat_add64(tick, std::max<std::int64_t>(length, 0));
    packet->start = Difference(TimeOfTick(tick, base), origin_);
    packet->stop = Difference(TimeOfTick(next, base), origin_);
}

void FootageFile::TimeSound(const AudioFormat& format, Packet* packet) {
    const AVRational base = streams_[packet->stream].timeBase;
    const AVRational clock = av_make_q(1, format.rate);
    const AVPacket& data = *packet->data;
    const std::int64_t length = data.size / format.storedFrame();
    std::int64_t& next = next_[packet->stream];
    const std::int64_t tick = data.pts != AV_NOPTS_VALUE ? data.pts : data.dts;
    std::int64_t first = tick == AV_NOPTS_VALUE ? next : av_rescale_q(tick, base, clock);
    // A clock of frames or fields tells roughly where sound begins: it follows on what came before,
    // and runs that are longer than a tick count from the file's start.
    const std::int64_t coarse = av_rescale_q(1, base, clock);
    if (next != AV_NOPTS_VALUE && std::abs(Difference(first, next)) <= coarse) {
        first = next;
    } else if (first == AV_NOPTS_VALUE) {
        first = TickAt(origin_, clock);
    } else if (length > 2 * coarse && coarse > 1) {
        first = (first + length / 2) / length * length;
    }
    next = av_sat_add64(first, length);
    packet->start = Difference(TimeOfTick(first, clock), origin_);
    packet->stop = Difference(TimeOfTick(next, clock), origin_);
}

bool FootageFile::IsFieldCounted() const {
    return std::strcmp(context_->iformat->name, "gxf") == 0;
}

HRESULT FootageFile::Read(Packet* packet) {
    for (;;) {
        if (cancelled_) {
            return E_ABORT;
        }
        const HRESULT result = ReadRaw(&packet->data);
        if (result != S_OK) {
            return result;
        }
        const auto stream = std::find_if(
            streams_.begin(), streams_.end(),
            [&](const StreamFormat& one) { return one.index == packet->data->stream_index; });
        if (stream == streams_.end()) {
            continue;
        }
        packet->stream = static_cast<std::size_t>(stream - streams_.begin());
        const bool deliver = TimePacket(packet);
        if (checkLanding_ && packet->stream == 0) {
            checkLanding_ = false;
            if (packet->start > from_ && from_ > 0) {
                // Past it: from the start, whatever it takes.
                next_.assign(streams_.size(), AV_NOPTS_VALUE);
                const HRESULT restarted = Restart();
                if (FAILED(restarted)) {
                    return restarted;
                }
                continue;
            }
        }
        if (deliver && wanted_[packet->stream]) {
            return S_OK;
        }
    }
}

}  // namespace nyx::source
