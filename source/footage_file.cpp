#include "source/footage_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "source/failures.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

constexpr int kInputBytes = 1 << 16;
constexpr int kMinLeft = 2 * kInputBytes;  // more than any filling of the buffer
/// What is read to see a file's first frames or to count them.
constexpr int kMaxPacketsSeen = 2000;
constexpr std::int64_t kMaxBytesSeen = 128 << 20;
/// A packet of sound in GXF may begin so much before the picture that it goes with.
constexpr REFERENCE_TIME kMaxAudio = kUnits;
constexpr char kKinds[] = "avi,dv,gxf,mov,mp4,m4a,3gp,3g2,mj2,mpegvideo,mxf";

/// When a stream begins; the file's start for one that does not say.
REFERENCE_TIME StartOf(const AVFormatContext& file, const AVStream& stream) {
    if (stream.start_time != AV_NOPTS_VALUE) {
        return TimeOfTick(stream.start_time, stream.time_base);
    }
    return file.start_time != AV_NOPTS_VALUE ? TimeOfTick(file.start_time, AV_TIME_BASE_Q) : 0;
}

/// A packet over the same bytes.
HRESULT Share(const Packet& packet, Packet* copy) {
    copy->stream = packet.stream;
    copy->data.reset(av_packet_clone(packet.data.get()));
    copy->left = packet.left;
    copy->leftAt = packet.leftAt;
    return copy->data ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

bool FootageFile::MayGoOn() {
    return budget_.Ask(bytes_->Milliseconds()) && !cancelled_;
}

int FootageFile::IsInterrupted(void* self) {
    return static_cast<FootageFile*>(self)->MayGoOn() ? 0 : 1;
}

int FootageFile::ReadBytes(void* self, std::uint8_t* to, int count) {
    auto* file = static_cast<FootageFile*>(self);
    if (!file->MayGoOn()) {
        return AVERROR_EXIT;
    }
    if (file->leaves_ && count >= kMinLeft &&
        count <= Difference(file->bytes_->Size(), file->position_)) {
        file->left_ = {to + count, count, file->position_};
        file->position_ += count;
        return count;
    }
    const int got = file->bytes_->Read(file->position_, to, count);
    file->readFailed_ = got < 0;
    file->position_ += std::max(got, 0);
    file->furthest_ = std::max<std::int64_t>(file->furthest_, file->position_);
    file->budget_.Take(std::max(got, 0), file->bytes_->Milliseconds());
    return got > 0 ? got : got == 0 ? AVERROR_EOF : AVERROR(EIO);
}

std::int64_t FootageFile::SeekBytes(void* self, std::int64_t offset, int whence) {
    auto* file = static_cast<FootageFile*>(self);
    if (whence == AVSEEK_SIZE) {
        return file->bytes_->Size();
    }
    const std::int64_t base = whence == SEEK_CUR ? file->position_ : 0;
    const std::int64_t position = av_sat_add64(base, offset);
    return position < 0 ? AVERROR(EINVAL) : file->position_ = position;
}

/// What it means when the library gets no memory: a table may claim any number of rows. It is a
/// damaged one as long as there is memory for all that can be in a file of this size.
HRESULT FootageFile::WantOfMemory() const {
    constexpr std::int64_t kMaxOfARow = 32;  // for a byte of the file
    constexpr std::int64_t kMaxMemory = 256 << 20;
    const std::int64_t all =
        std::clamp<std::int64_t>(size_, 1, kMaxMemory / kMaxOfARow) * kMaxOfARow;
    void* const memory = av_malloc(static_cast<std::size_t>(all));
    av_free(memory);
    return memory ? kInvalidFileFormat : E_OUTOFMEMORY;
}

HRESULT FootageFile::ResultOf(int error) const {
    return error >= 0                 ? S_OK
           : error == AVERROR(ENOMEM) ? WantOfMemory()
           : cancelled_               ? kCancelled
           : readFailed_              ? bytes_->failure()
                                      : kInvalidFileFormat;
}

HRESULT FootageFile::OpenContainer() {
    context_.reset();
    position_ = 0;
    readFailed_ = false;
    leaves_ = false;
    auto* buffer = static_cast<unsigned char*>(av_malloc(kInputBytes));
    input_.reset(
        buffer ? avio_alloc_context(buffer, kInputBytes, 0, this, ReadBytes, nullptr, SeekBytes)
               : nullptr);
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
    context->interrupt_callback = {IsInterrupted, this};
    // Containers alone: no frame is decoded to learn more of it, no other file opened.
    context->format_whitelist = av_strdup(kKinds);
    context->codec_whitelist = av_strdup("none");
    context->protocol_whitelist = av_strdup("none");
    const AVInputFormat* kind = nullptr;
    int error = AVERROR(ENOMEM);
    if (context->format_whitelist && context->codec_whitelist && context->protocol_whitelist) {
        error = av_probe_input_buffer2(input_.get(), &kind, "", nullptr, 0, 0);
    }
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
    size_ = bytes_->Size();
    budget_.Start(size_, bytes_->Milliseconds());
    HRESULT result = OpenContainer();
    if (SUCCEEDED(result)) {
        result = FindStreams();
    }
    if (FAILED(result)) {
        return result;
    }
    origin_ = std::min_element(streams_.begin(), streams_.end(), [](const auto& a, const auto& b) {
                  return a.start < b.start;
              })->start;
    Select(std::vector<bool>(streams_.size(), true));
    leaves_ = CanStayInFile(*context_, streams_.front());
    result = Seek(0);
    budget_.Stop();
    return result;
}

/// Reads until enough frames of each stream were seen to describe it.
HRESULT FootageFile::SeeFirstFrames(std::vector<Packets>* seen) {
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

/// How long a file without times is: its frames are counted, to its end if that is not far, else as
/// if the rest were like them. The first frames were seen already.
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
    while (result == S_OK && position_ < kMaxBytesSeen) {
        LibavPtr<AVPacket> packet;
        result = ReadRaw(&packet);
        if (result == S_OK && packet->stream_index == stream->index) {
            check(*packet);
        }
    }
    if (result == S_OK) {
        count = av_rescale(count, bytes_->Size(), end);
    }
    stream->duration = TimeOfTick(count, av_inv_q(stream->video->rate));
    return result;
}

HRESULT FootageFile::FindStreams() {
    std::vector<Packets> seen;
    HRESULT result = SeeFirstFrames(&seen);
    HRESULT refusal = kUnsupportedStream;
    bool anyVideo = false;
    for (unsigned i = 0; i < seen.size() && SUCCEEDED(result); ++i) {
        AVStream* stream = context_->streams[i];
        StreamFormat format;
        format.index = static_cast<int>(i);
        format.timeBase = stream->time_base;
        const bool timed = stream->duration != AV_NOPTS_VALUE;
        const AVRational clock = timed ? stream->time_base : AV_TIME_BASE_Q;
        const REFERENCE_TIME duration =
            TimeOfTick(timed ? stream->duration : context_->duration, clock);
        format.start = StartOf(*context_, *stream);
        const REFERENCE_TIME late =
            timed || context_->start_time == AV_NOPTS_VALUE
                ? 0
                : Difference(format.start, TimeOfTick(context_->start_time, AV_TIME_BASE_Q));
        format.duration = std::max<REFERENCE_TIME>(Difference(duration, late), 0);
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            anyVideo = true;
            format.video.emplace();
            const HRESULT described =
                DescribeVideo(context_.get(), stream, seen[i], &*format.video);
            if (FAILED(described)) {
                refusal = described;
                leftOut_.push_back({format.index, described});
                continue;
            }
            if (stream->duration == AV_NOPTS_VALUE) {  // rounded in microseconds, not in frames
                const AVRational frame = av_inv_q(format.video->rate);
                format.duration =
                    TimeOfTick(av_rescale_q(format.duration, {1, kUnits}, frame), frame);
            }
            if (IsAvi(*context_) &&
                format.duration > 0) {  // the last picture's ticks may be missing
                const std::int64_t ticks = FrameTicks(format);
                const std::int64_t count =
                    TickAt(Difference(format.duration, 1), format.timeBase) / ticks + 1;
                format.duration = TimeOfTick(count * ticks, format.timeBase);
            }
            if (format.duration == 0 || IsElementary(*context_)) {
                result = CountFrames(seen[i], &format);
            }
        } else if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
            continue;
        } else if (!DescribeAudio(*stream->codecpar, &format.audio)) {
            leftOut_.push_back({format.index, kUnsupportedAudio});
            continue;
        } else {
            format.audio.inDv = CarriesDvAudio(*context_, *stream);
        }
        streams_.push_back(format);
    }
    std::stable_partition(streams_.begin(), streams_.end(),
                          [](const StreamFormat& stream) { return stream.video.has_value(); });
    const bool missing = streams_.empty() || (anyVideo && !streams_.front().video);
    if (SUCCEEDED(result) && !missing && IsRawDv(*context_)) {
        TimeRawDv(seen[static_cast<std::size_t>(streams_.front().index)]);
    }
    return FAILED(result) ? result : missing ? refusal : S_OK;
}

/// How long whole frames of raw DV last, whose system may change.
void FootageFile::TimeRawDv(const Packets& seen) {
    if (seen.empty()) {
        return;
    }
    const std::int64_t first = seen.front()->pos;
    rawDv_.Find(bytes_.get(), first);
    VideoFormat& video = *streams_.front().video;
    if (rawDv_.changes()) {
        video.largestPacket = static_cast<DWORD>(rawDv_.LongestFrame());
        video.wholeFrame = static_cast<DWORD>(rawDv_.ShortestFrame());
    }
    for (StreamFormat& stream : streams_) {
        stream.duration = rawDv_.changes() ? rawDv_.Duration(size_)
                                           : TimeOfTick(Difference(size_, first) / video.wholeFrame,
                                                        av_inv_q(video.rate));
    }
}

REFERENCE_TIME FootageFile::duration() const {
    REFERENCE_TIME end = origin_;
    for (const StreamFormat& stream : streams_) {
        end = std::max(end, av_sat_add64(stream.start, stream.duration));
    }
    return std::min(Difference(end, origin_), kMaxTime);
}

void FootageFile::Select(const std::vector<bool>& wanted) {
    wanted_ = wanted;
    SkipUnwanted();
}

/// Lets the container pass over what nobody wants, where it can; pictures without bytes are wanted.
void FootageFile::SkipUnwanted() {
    for (unsigned i = 0; context_ && i < context_->nb_streams; ++i) {
        context_->streams[i]->discard = AVDISCARD_ALL;
    }
    for (std::size_t i = 0; context_ && i < streams_.size(); ++i) {
        if (wanted_[i]) {
            context_->streams[streams_[i].index]->discard = AVDISCARD_NONE;
        }
    }
}

/// Nothing was read yet at the place where reading continues.
void FootageFile::Forget() {
    next_.assign(streams_.size(), AV_NOPTS_VALUE);
    rates_.assign(streams_.size(), 0);
    nextFrame_ = 0;
    shown_.data.reset();
    held_.data.reset();
}

HRESULT FootageFile::Restart() {
    Forget();
    const HRESULT result = OpenContainer();
    if (FAILED(result)) {
        return result;
    }
    for (const StreamFormat& stream : streams_) {
        if (static_cast<unsigned>(stream.index) >= context_->nb_streams) {
            return kInvalidFileFormat;
        }
    }
    SkipUnwanted();
    leaves_ = CanStayInFile(*context_, streams_.front());
    return S_OK;
}

/// Goes to a group of pictures that begins at a time or little before it, by the time codes of a
/// file that has nothing else to go by; false where these do not count its frames.
bool FootageFile::SeekGroup(REFERENCE_TIME time) {
    if (!groups_.areNumbered()) {
        return false;
    }
    const StreamFormat& first = streams_.front();
    const AVRational frame = av_inv_q(first.video->rate);
    const MpegGroups::Group group = groups_.Find(bytes_.get(), TickAt(time, frame));
    if (av_seek_frame(context_.get(), -1, group.position, AVSEEK_FLAG_BYTE) < 0) {
        return false;
    }
    next_.front() = TickAt(av_sat_add64(TimeOfTick(group.frame, frame), origin_), first.timeBase);
    return true;
}

HRESULT FootageFile::Seek(REFERENCE_TIME time) {
    from_ = time;
    const StreamFormat& first = streams_.front();
    const REFERENCE_TIME firstStart = Difference(first.start, origin_);
    checkLanding_ = time > firstStart;
    Forget();
    // A Restart was cancelled, or sound comes before the picture that a place would be sought by.
    if (!context_ || time < firstStart) {
        return Restart();
    }
    const REFERENCE_TIME early = CountsFields(*context_) ? kMaxAudio : 0;
    const REFERENCE_TIME place = Difference(av_sat_add64(time, origin_), early);
    readFailed_ = false;
    // A read that was cancelled looks like the end to the next short way forward.
    input_->eof_reached = 0;
    input_->error = 0;
    if (SeekGroup(time)) {
        return S_OK;
    }
    // The container would count frames of one length; it only forgets what it has read.
    const std::int64_t tick = rawDv_.changes() ? 0 : TickAt(place, first.timeBase);
    const int error =
        av_seek_frame(context_.get(), first.index, tick, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    if (error >= 0 && rawDv_.changes()) {
        nextFrame_ = rawDv_.PositionAt(time);
        avio_seek(input_.get(), nextFrame_, SEEK_SET);
    }
    return error < 0 ? Restart() : S_OK;
}

/// The next packet of any stream; `S_FALSE` at the end.
HRESULT FootageFile::ReadRaw(LibavPtr<AVPacket>* packet) {
    packet->reset(av_packet_alloc());
    if (!*packet) {
        return E_OUTOFMEMORY;
    }
    left_ = {};
    const HRESULT result =
        ResultOf(rawDv_.changes() ? ReadChangingDv(packet->get())
                                  : av_read_frame(context_.get(), packet->get()));
    // The reader of raw DV takes the rest of a buffer for that of a torn frame.
    const AVPacket& data = **packet;
    const bool torn = result == S_OK && IsRawDv(*context_) && data.stream_index == 0 &&
                      (rawDv_.changes() ? rawDv_.SystemAt(data.pos).frame_size : data.size) >
                          Difference(bytes_->Size(), data.pos);
    // Behind the last thing that can be made out there is nothing, whatever it is.
    return torn || result == kInvalidFileFormat ? S_FALSE : result;
}

std::int64_t FootageFile::FrameTicks(const StreamFormat& stream) const {
    const AVRational frame = av_inv_q(stream.video->rate);
    return std::max<std::int64_t>(av_rescale_q(1, frame, stream.timeBase), 1);
}

/// When a picture begins: behind the one before where the container does not say.
std::int64_t FootageFile::TickOf(const StreamFormat& stream, const Packet& packet) const {
    const AVPacket& data = *packet.data;
    const std::int64_t tick = data.pts != AV_NOPTS_VALUE ? data.pts : data.dts;
    const std::int64_t next = next_[packet.stream];
    const bool timed = tick != AV_NOPTS_VALUE && !groups_.areNumbered();
    return timed ? tick : next != AV_NOPTS_VALUE ? next : TickAt(origin_, stream.timeBase);
}

/// A picture of AVI may be the one before once more: a chunk without bytes, or just a tick that an
/// index leaves out. Puts it in the packet's place, which is held back where it has bytes itself.
/// `S_FALSE` when there is none to be repeated.
HRESULT FootageFile::Repeat(Packet* packet) {
    const StreamFormat& stream = streams_.front();
    const bool empty = packet->size() == 0;
    const std::int64_t next = next_.front();
    const std::int64_t gap = next == AV_NOPTS_VALUE ? 0 : Difference(TickOf(stream, *packet), next);
    Packet copy;
    if (!empty && (!shown_.data || gap < FrameTicks(stream))) {
        const HRESULT result = Share(*packet, &copy);
        shown_ = std::move(copy);
        return result;
    }
    if (!shown_.data || gap < 0) {
        return S_FALSE;
    }
    const HRESULT result = Share(shown_, &copy);
    if (FAILED(result)) {
        return result;
    }
    copy.data->pts = copy.data->dts = next;
    if (!empty || gap >= FrameTicks(stream)) {
        held_ = std::move(*packet);
    }
    *packet = std::move(copy);
    return S_OK;
}

/// The container reads as many bytes as the frame before had: too many of a shorter one, and takes
/// a longer one for torn, once.
int FootageFile::ReadChangingDv(AVPacket* packet) {
    int error = av_read_frame(context_.get(), packet);
    if (error < 0 && !cancelled_ && !readFailed_) {
        avio_seek(input_.get(), nextFrame_, SEEK_SET);
        error = av_read_frame(context_.get(), packet);
    }
    if (error >= 0 && packet->stream_index == streams_.front().index) {
        nextFrame_ = packet->pos + packet->size;
        avio_seek(input_.get(), nextFrame_, SEEK_SET);
    }
    return error;
}

void FootageFile::TimePicture(const StreamFormat& stream, Packet* packet) {
    const AVPacket& data = *packet->data;
    if (rawDv_.changes()) {
        packet->system = &rawDv_.SystemAt(data.pos);
        packet->start = rawDv_.StartAt(data.pos);
        packet->stop = rawDv_.StopAt(data.pos);
        return;
    }
    const std::int64_t tick = TickOf(stream, *packet);
    std::int64_t& next = next_[packet->stream];
    const bool known = data.duration > 0 && !CountsTicks(*context_);
    next = av_sat_add64(tick, known ? data.duration : FrameTicks(stream));
    packet->start = Difference(TimeOfTick(tick, stream.timeBase), origin_);
    packet->stop = Difference(TimeOfTick(next, stream.timeBase), origin_);
}

void FootageFile::TimeAudio(const StreamFormat& stream, Packet* packet) {
    const AVPacket& data = *packet->data;
    const std::int64_t length = data.size / stream.audio.storedFrame();
    const int found = stream.audio.inDv ? DvSoundRate(length) : 0;
    const int rate = found > 0 ? found : stream.audio.rate;
    const AVRational clock = av_make_q(1, rate);
    std::int64_t& next = next_[packet->stream];
    if (std::exchange(rates_[packet->stream], rate) != rate) {
        next = AV_NOPTS_VALUE;
    }
    packet->rate = rate;
    const std::int64_t tick = data.pts != AV_NOPTS_VALUE ? data.pts : data.dts;
    std::int64_t first = tick == AV_NOPTS_VALUE ? next : av_rescale_q(tick, stream.timeBase, clock);
    if (rawDv_.changes()) {
        first = av_rescale(rawDv_.StartAt(data.pos), rate, kUnits);
    }
    // A clock of frames or fields tells roughly where sound begins: it follows on what came before,
    // and runs that are longer than a tick count from the file's start.
    const std::int64_t coarse = av_rescale_q(1, stream.timeBase, clock);
    const std::int64_t gap = Difference(first, next);
    if (next != AV_NOPTS_VALUE && gap <= coarse && gap >= -coarse) {
        first = next;
    } else if (first == AV_NOPTS_VALUE) {
        first = TickAt(origin_, clock);
    } else if (coarse > 1 && length > 2 * coarse) {
        first = av_rescale(first, 1, length) * length;
    }
    next = av_sat_add64(first, length);
    packet->start = Difference(TimeOfTick(first, clock), origin_);
    packet->stop = Difference(TimeOfTick(next, clock), origin_);
}

/// Notes what of a packet was left in the file; sound is fetched.
HRESULT FootageFile::FindLeft(Packet* packet) {
    AVPacket& data = *packet->data;
    packet->left = static_cast<std::size_t>(left_.count);
    packet->leftAt = left_.position;
    if (left_.count == 0) {
        return S_OK;
    }
    if (left_.count > data.size || left_.end != data.data + data.size) {
        return kInvalidFileFormat;
    }
    if (!streams_[packet->stream].video) {
        const HRESULT result = ReadLeft(*packet, data.data + data.size - left_.count);
        packet->left = 0;
        return result;
    }
    // Only what is there is kept: many frames may be read ahead.
    const int had = data.size - left_.count;
    AVBufferRef* kept =
        av_buffer_allocz(static_cast<std::size_t>(had) + AV_INPUT_BUFFER_PADDING_SIZE);
    if (!kept) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(kept->data, data.data, static_cast<std::size_t>(had));
    av_buffer_unref(&data.buf);
    data.buf = kept;
    data.data = kept->data;
    data.size = had;
    return S_OK;
}

HRESULT FootageFile::ReadLeft(const Packet& packet, BYTE* to) {
    const int count = static_cast<int>(packet.left);
    const int got = count > 0 ? bytes_->Read(packet.leftAt, to, count) : 0;
    return got == count ? S_OK : got < 0 ? bytes_->failure() : S_FALSE;
}

HRESULT FootageFile::Copy(const Packet& packet, BYTE* to) {
    const std::size_t had = packet.bytes().size();
    std::memcpy(to, packet.data->data, had);
    return ReadLeft(packet, to + had);
}

/// The next packet of a stream of ours. `S_FALSE` at the end.
HRESULT FootageFile::TakePacket(Packet* packet) {
    if (held_.data) {
        *packet = std::move(held_);
        return S_OK;
    }
    for (;;) {
        const HRESULT result = cancelled_ ? kCancelled : ReadRaw(&packet->data);
        if (result != S_OK) {
            return result;
        }
        std::size_t at = 0;
        while (at < streams_.size() && streams_[at].index != packet->data->stream_index) {
            ++at;
        }
        if (at < streams_.size()) {
            packet->stream = at;
            return FindLeft(packet);
        }
    }
}

HRESULT FootageFile::Read(Packet* packet) {
    for (;;) {
        HRESULT result = TakePacket(packet);
        if (result != S_OK) {
            return result;
        }
        const std::size_t at = packet->stream;
        const StreamFormat& stream = streams_[at];
        if (at == 0 && stream.video && IsAvi(*context_)) {
            result = Repeat(packet);
            if (FAILED(result)) {
                return result;
            }
        }
        if (packet->size() == 0) {
            continue;
        }
        stream.video ? TimePicture(stream, packet) : TimeAudio(stream, packet);
        const bool tooFar = checkLanding_ && at == 0 && packet->start > from_;
        checkLanding_ = checkLanding_ && at != 0;
        if (tooFar) {  // from the start, whatever it takes
            const HRESULT restarted = Restart();
            if (FAILED(restarted)) {
                return restarted;
            }
            continue;
        }
        const bool torn = stream.video && packet->size() < stream.video->wholeFrame;
        if (wanted_[at] && !torn && packet->stop > from_) {
            return S_OK;
        }
    }
}

}  // namespace nyx::source
