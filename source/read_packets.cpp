/// @file
/// FootageFile's packets: read, timed, and repeated where the container says so.

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

#include "source/failures.h"
#include "source/footage_file.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

/// Makes a packet over the same bytes.
HRESULT Share(const Packet& packet, Packet* copy) {
    copy->stream = packet.stream;
    copy->data.reset(av_packet_clone(packet.data.get()));
    copy->deferred = packet.deferred;
    copy->deferredOffset = packet.deferredOffset;
    return copy->data ? S_OK : E_OUTOFMEMORY;
}

/// The time that the container gives a packet, in ticks; AV_NOPTS_VALUE without one.
std::int64_t StoredTick(const AVPacket& packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

}  // namespace

/// Reads the next packet of any stream; `S_FALSE` at the end.
HRESULT FootageFile::ReadRaw(LibavPtr<AVPacket>* packet) {
    packet->reset(av_packet_alloc());
    if (!*packet) {
        return E_OUTOFMEMORY;
    }
    std::ignore = input_.TakeDeferred();  // of a packet that was not delivered
    const HRESULT result =
        input_.ResultOf(rawDv_.changes() ? ReadChangingDv(packet->get())
                                         : av_read_frame(context_.get(), packet->get()));
    if (result == kInvalidFileFormat) {
        return S_FALSE;  // an unreadable tail counts as the file's end
    }
    // The demuxer of raw DV completes a torn frame with stale bytes of its buffer.
    const AVPacket& data = **packet;
    const bool torn = result == S_OK && ContainerOf(*context_) == kRawDv &&
                      data.stream_index == 0 &&
                      (rawDv_.changes() ? rawDv_.SystemAt(data.pos).frame_size : data.size) >
                          Difference(input_.bytes()->Size(), data.pos);
    return torn ? S_FALSE : result;
}

/// Reads raw DV whose system changes. The demuxer expects as many bytes as the frame before had: it
/// reads too many of a shorter frame, and rejects a longer one as torn, once.
int FootageFile::ReadChangingDv(AVPacket* packet) {
    int error = av_read_frame(context_.get(), packet);
    if (error < 0 && !input_.hasFailed()) {
        avio_seek(input_.context(), nextFrame_, SEEK_SET);
        error = av_read_frame(context_.get(), packet);
    }
    if (error >= 0 && packet->stream_index == streams_.front().index) {
        nextFrame_ = packet->pos + packet->size;
        avio_seek(input_.context(), nextFrame_, SEEK_SET);
    }
    return error;
}

/// Reads the next packet of a stream of streams_; `S_FALSE` at the end.
HRESULT FootageFile::ReadDelivered(Packet* packet) {
    if (held_.data) {
        *packet = std::move(held_);
        return S_OK;
    }
    for (;;) {
        const HRESULT result = input_.isCancelled() ? kCancelled : ReadRaw(&packet->data);
        if (result != S_OK) {
            return result;
        }
        const auto stream =
            std::ranges::find(streams_, packet->data->stream_index, &StreamFormat::index);
        if (stream != streams_.end()) {
            packet->stream = static_cast<std::size_t>(stream - streams_.begin());
            return FindDeferred(packet);
        }
    }
}

/// Records which bytes of a packet were deferred, and frees the memory for them. Reads them now for
/// audio. `kInvalidFileFormat` where they are not the packet's last bytes.
HRESULT FootageFile::FindDeferred(Packet* packet) {
    const DeferredPayload deferred = input_.TakeDeferred();
    const auto count = static_cast<std::size_t>(deferred.count);
    packet->deferred = count;
    packet->deferredOffset = deferred.offset;
    if (count == 0) {
        return S_OK;
    }
    AVPacket& data = *packet->data;
    if (deferred.count > data.size || deferred.end != data.data + data.size) {
        return kInvalidFileFormat;
    }
    const int read = data.size - deferred.count;
    if (!streams_[packet->stream].video) {
        packet->deferred = 0;
        return input_.ReadDeferred(deferred.offset, {data.data + read, count});
    }
    // Many frames may be read ahead.
    AVBufferRef* kept =
        av_buffer_allocz(static_cast<std::size_t>(read) + AV_INPUT_BUFFER_PADDING_SIZE);
    if (!kept) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(kept->data, data.data, static_cast<std::size_t>(read));
    av_buffer_unref(&data.buf);
    data.buf = kept;
    data.data = kept->data;
    data.size = read;
    return S_OK;
}

HRESULT FootageFile::Copy(const Packet& packet, BYTE* to) const {
    const ByteSpan bytes = packet.bytes();
    std::copy_n(bytes.data(), bytes.size(), to);
    return input_.ReadDeferred(packet.deferredOffset, {to + bytes.size(), packet.deferred});
}

/// A picture of AVI may repeat the one before: a chunk without bytes, or a tick that the index
/// skips. Replaces the packet with the repeated one, and holds it back if it has bytes itself.
/// `S_FALSE` when there is nothing to repeat.
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

/// When a picture begins: after the one before where the container does not say.
std::int64_t FootageFile::TickOf(const StreamFormat& stream, const Packet& packet) const {
    const std::int64_t tick = StoredTick(*packet.data);
    if (tick != AV_NOPTS_VALUE && !groups_.areNumbered()) {
        return tick;
    }
    const std::int64_t next = next_[packet.stream];
    return next != AV_NOPTS_VALUE ? next : TickAt(origin_, stream.timeBase);
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
    const int found = stream.audio.inDv ? DvAudioRate(length) : 0;
    const int rate = found > 0 ? found : stream.audio.rate;
    const AVRational clock = av_make_q(1, rate);
    std::int64_t& next = next_[packet->stream];
    if (std::exchange(rates_[packet->stream], rate) != rate) {
        next = AV_NOPTS_VALUE;
    }
    packet->rate = rate;
    const std::int64_t tick = StoredTick(data);
    std::int64_t first = tick == AV_NOPTS_VALUE ? next : av_rescale_q(tick, stream.timeBase, clock);
    if (rawDv_.changes()) {
        first = av_rescale(rawDv_.StartAt(data.pos), rate, kUnits);
    }
    // Time stamps that count frames or fields are too coarse for audio: it continues the packet
    // before, and runs that are longer than two ticks are counted from the file's start.
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

HRESULT FootageFile::ReadPacket(Packet* packet) {
    for (;;) {
        HRESULT result = ReadDelivered(packet);
        if (result != S_OK) {
            return result;
        }
        const std::size_t at = packet->stream;
        const StreamFormat& stream = streams_[at];
        if (at == 0 && stream.video && ContainerOf(*context_) == kAvi) {
            result = Repeat(packet);
            if (FAILED(result)) {
                return result;
            }
        }
        if (packet->size() == 0) {
            continue;
        }
        if (stream.video) {
            TimePicture(stream, packet);
        } else {
            TimeAudio(stream, packet);
        }
        const bool tooFar = checkLanding_ && at == 0 && packet->start > from_;
        checkLanding_ = checkLanding_ && at != 0;
        if (tooFar) {  // reads from the file's start instead, which may take long
            result = Restart();
            if (FAILED(result)) {
                return result;
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
