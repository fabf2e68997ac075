#include "source/footage_file.h"

#include <algorithm>
#include <utility>

#include "source/failures.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

/// A packet of audio in GXF may begin so much before the picture that it belongs to.
constexpr REFERENCE_TIME kMaxAudio = kUnits;
/// What is read first in MPEG-2 streams may follow the end of an earlier frame, as one packet.
constexpr REFERENCE_TIME kMaxTorn = kUnits / 5;
constexpr char kContainers[] = "avi,dv,gxf,mov,mp4,m4a,3gp,3g2,mj2,mpeg,mpegts,mpegvideo,mxf";

/// Whether the tables of an AVI or MOV file, which list all streams, have video but none of ours.
bool IsOthers(const AVFormatContext& file) {
    bool others = false;
    for (unsigned i = 0; i < file.nb_streams; ++i) {
        const AVCodecParameters& stream = *file.streams[i]->codecpar;
        if (stream.codec_type == AVMEDIA_TYPE_VIDEO) {
            if (CodingOf(stream) != Coding::kOther) {
                return false;
            }
            others = true;
        }
    }
    return others && (ContainerOf(file) == kAvi || ContainerOf(file) == kMov);
}

}  // namespace

HRESULT FootageFile::OpenContainer() {
    context_.reset();
    const HRESULT rewound = input_.Rewind();
    if (FAILED(rewound)) {
        return rewound;
    }
    AVFormatContext* context = avformat_alloc_context();
    if (!context) {
        return E_OUTOFMEMORY;
    }
    context->pb = input_.context();
    context->flags |= AVFMT_FLAG_DISCARD_CORRUPT;
    context->interrupt_callback = input_.interruption();
    // Containers only: libavformat neither decodes a frame to learn more nor opens another file.
    context->format_whitelist = av_strdup(kContainers);
    context->codec_whitelist = av_strdup("none");
    context->protocol_whitelist = av_strdup("none");
    const AVInputFormat* kind = nullptr;
    int error = AVERROR(ENOMEM);
    if (context->format_whitelist && context->codec_whitelist && context->protocol_whitelist) {
        error = av_probe_input_buffer2(input_.context(), &kind, "", nullptr, 0, 0);
    }
    if (error < 0) {
        avformat_free_context(context);
        const HRESULT result = input_.ResultOf(error);
        return result == kInvalidFileFormat ? kUnknownFileType : result;
    }
    error = avformat_open_input(&context, "", kind, nullptr);  // frees the context when it fails
    if (error < 0) {
        return input_.ResultOf(error);
    }
    context_.reset(context);
    if (IsOthers(*context)) {
        return kUnsupportedStream;  // before more of the file is read than its tables
    }
    error = avformat_find_stream_info(context, nullptr);
    context->bit_rate = 0;  // without an index, the MXF reader would guess places by it
    return input_.ResultOf(error);
}

HRESULT FootageFile::Open(std::unique_ptr<ByteSource> bytes) {
    av_log_set_level(AV_LOG_QUIET);
    input_.Start(std::move(bytes));
    HRESULT result = OpenContainer();
    if (SUCCEEDED(result)) {
        result = FindStreams();
    }
    if (SUCCEEDED(result)) {
        origin_ = std::ranges::min_element(streams_, {}, &StreamFormat::start)->start;
        Select(std::vector<bool>(streams_.size(), true));
        result = Seek(0);
        input_.EndBudget();
    }
    // libavformat may take a cancelled read for the file's end, and describe what it has.
    return input_.isCancelled() ? kCancelled : result;
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
    ApplySelection();
}

/// Lets libavformat skip unselected streams, and defer payloads where it may. AVDISCARD_NONE also
/// delivers pictures without bytes.
void FootageFile::ApplySelection() {
    if (!context_) {
        return;
    }
    for (unsigned i = 0; i < context_->nb_streams; ++i) {
        context_->streams[i]->discard = AVDISCARD_ALL;
    }
    for (std::size_t i = 0; i < streams_.size(); ++i) {
        if (wanted_[i]) {
            context_->streams[streams_[i].index]->discard = AVDISCARD_NONE;
        }
    }
    input_.AllowDeferral(MayDefer(*context_, streams_.front()));
}

/// Forgets what was read so far: reading continues elsewhere.
void FootageFile::ForgetPosition() {
    next_.assign(streams_.size(), AV_NOPTS_VALUE);
    rates_.assign(streams_.size(), 0);
    nextFrame_ = 0;
    shown_.data.reset();
    held_.data.reset();
}

HRESULT FootageFile::Restart() {
    ForgetPosition();
    const HRESULT result = OpenContainer();
    if (FAILED(result)) {
        return result;
    }
    for (const StreamFormat& stream : streams_) {
        if (static_cast<unsigned>(stream.index) >= context_->nb_streams) {
            return kInvalidFileFormat;
        }
    }
    ApplySelection();
    return S_OK;
}

/// Seeks to a group of pictures that begins at a time or little before it, by the time codes of a
/// file without an index; false where these do not count its frames.
bool FootageFile::SeekGroup(REFERENCE_TIME time) {
    if (!groups_.areNumbered()) {
        return false;
    }
    const StreamFormat& first = streams_.front();
    const AVRational frame = av_inv_q(first.video->rate);
    const MpegGroups::Group group = groups_.Find(input_.bytes(), TickAt(time, frame));
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
    ForgetPosition();
    // A Restart was cancelled, or audio comes before the first picture, by which places are found.
    if (!context_ || time < firstStart) {
        return Restart();
    }
    const std::string_view kind = ContainerOf(*context_);
    const bool torn = kind == kProgramStream || kind == kTransportStream;
    const REFERENCE_TIME early = kind == kGxf ? kMaxAudio : torn ? kMaxTorn : 0;
    const REFERENCE_TIME place = Difference(av_sat_add64(time, origin_), early);
    input_.ClearFailure();
    if (SeekGroup(time)) {
        return S_OK;
    }
    // With raw DV that changes, this only makes libavformat forget what it has read: it would count
    // frames of one length.
    const std::int64_t tick = rawDv_.changes() ? 0 : TickAt(place, first.timeBase);
    const int error =
        av_seek_frame(context_.get(), first.index, tick, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    if (error < 0) {
        return Restart();
    }
    if (rawDv_.changes()) {
        nextFrame_ = rawDv_.PositionAt(time);
        avio_seek(input_.context(), nextFrame_, SEEK_SET);
    }
    return S_OK;
}

}  // namespace nyx::source
