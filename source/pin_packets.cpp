#include "source/pin_packets.h"

#include <algorithm>
#include <cstring>

#include "source/sample_clock.h"

namespace nyx::source {
namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

bool AreAPair(const StreamFormat& a, const StreamFormat& b) {
    const PcmKind kind = a.audio.pcm.kind;
    const bool silentAtZero = kind == PcmKind::kSigned || kind == PcmKind::kFloat;
    return silentAtZero && !a.video && !b.video && a.audio.channels == 1 && b.audio.channels == 1 &&
           a.audio.rate == b.audio.rate && a.audio.pcm == b.audio.pcm && !a.audio.inDv &&
           !b.audio.inDv;
}

}  // namespace

std::vector<PinSources> GroupIntoPins(const std::vector<PacketSource>& streams, bool pairsMono) {
    std::vector<PinSources> pins;
    for (const PacketSource& stream : streams) {
        const bool joins = pairsMono && !pins.empty() && pins.back().size() == 1 &&
                           AreAPair(*pins.back().front().format, *stream.format);
        if (joins) {
            pins.back().push_back(stream);
        } else {
            pins.push_back({stream});
        }
    }
    return pins;
}

StreamFormat FormatOf(const PinSources& sources) {
    constexpr DWORD kLeftAndRight = 0x3;
    StreamFormat format = *sources.front().format;
    if (sources.size() == 2) {
        format.audio.channels = 2;
        format.audio.channelMask = kLeftAndRight;
    }
    return format;
}

HRESULT PinPackets::Pop(Packet* packet) {
    if (sides_.size() == 1) {
        return pop_(0, packet);
    }
    const AudioFormat& audio = sources_.front().format->audio;
    std::int64_t start = kNever;
    for (std::size_t i = 0; i < sides_.size(); ++i) {
        Side& side = sides_[i];
        while (side.stop <= next_) {
            const HRESULT result = pop_(i, &side.packet);
            if (FAILED(result)) {
                return result;
            }
            side.start =
                result == S_OK ? av_rescale(side.packet.start, audio.rate, kUnits) : kNever;
            side.stop =
                result == S_OK ? side.start + side.packet.data->size / audio.storedFrame() : kNever;
        }
        start = std::min(start, std::max(side.start, next_));
    }
    if (start == kNever) {
        return S_FALSE;
    }
    next_ = start + audio.rate;  // a second at most
    for (const Side& side : sides_) {
        next_ = std::min(next_, side.start > start ? side.start : side.stop);
    }
    return Join(start, next_, packet);
}

/// Makes a packet of both tracks' samples of a time.
HRESULT PinPackets::Join(std::int64_t start, std::int64_t stop, Packet* packet) const {
    const AudioFormat& audio = sources_.front().format->audio;
    const auto bytes = static_cast<std::size_t>(audio.storedFrame());
    const auto count = static_cast<std::size_t>(stop - start);
    packet->data.reset(av_packet_alloc());
    if (!packet->data ||
        av_new_packet(packet->data.get(), static_cast<int>(2 * bytes * count)) < 0) {
        return E_OUTOFMEMORY;
    }
    std::memset(packet->data->data, 0, 2 * bytes * count);
    for (std::size_t i = 0; i < sides_.size(); ++i) {
        const Side& side = sides_[i];
        if (side.start > start) {
            continue;
        }
        const BYTE* from =
            side.packet.data->data + static_cast<std::size_t>(start - side.start) * bytes;
        BYTE* to = packet->data->data + i * bytes;
        for (std::size_t sample = 0; sample < count; ++sample, from += bytes, to += 2 * bytes) {
            std::memcpy(to, from, bytes);
        }
    }
    const AVRational clock = av_make_q(1, audio.rate);
    packet->start = TimeOfTick(start, clock);
    packet->stop = TimeOfTick(stop, clock);
    packet->rate = audio.rate;
    return S_OK;
}

}  // namespace nyx::source
