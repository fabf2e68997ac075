#include "source/pin_packets.h"

#include <algorithm>
#include <cstring>

#include "source/sample_clock.h"

namespace nyx::source {
namespace {

bool AreAPair(const StreamFormat& a, const StreamFormat& b) {
    return !a.video && !b.video && a.audio.channels == 1 && b.audio.channels == 1 &&
           a.audio.rate == b.audio.rate && a.audio.pcm == b.audio.pcm && !a.audio.inDv &&
           !b.audio.inDv;
}

}  // namespace

std::vector<PinSources> GroupIntoPins(const std::vector<PacketSource>& streams, bool pairsMono) {
    std::vector<PinSources> pins;
    for (const PacketSource& stream : streams) {
        const bool joins = pairsMono && !pins.empty() && pins.back().size() == 1 &&
                           AreAPair(pins.back().front().format(), stream.format());
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
    StreamFormat format = sources.front().format();
    if (sources.size() == 2) {
        format.audio.channels = 2;
        format.audio.channelMask = kLeftAndRight;
    }
    return format;
}

void PinPackets::Start() {
    sides_.clear();
    sides_.resize(sources_.size());
    next_ = kNone;
}

void PinPackets::Close() {
    for (const PacketSource& source : sources_) {
        source.packets->Close(source.stream);
    }
}

/// Pops a track's packets until one lasts beyond what was delivered.
HRESULT PinPackets::Fill(const PacketSource& source, Side* side) {
    while (!side->ended && side->stop <= next_) {
        const HRESULT result = source.packets->Pop(source.stream, &side->packet);
        if (FAILED(result)) {
            return result;
        }
        side->ended = result == S_FALSE;
        if (!side->ended) {
            const AudioFormat& audio = source.format().audio;
            side->start = av_rescale(side->packet.start, audio.rate, kUnits);
            side->stop = side->start + side->packet.data->size / audio.storedFrame();
        }
    }
    return S_OK;
}

HRESULT PinPackets::Pop(Packet* packet) {
    if (sources_.size() == 1) {
        return sources_.front().packets->Pop(sources_.front().stream, packet);
    }
    constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
    std::int64_t start = kNever;
    for (std::size_t i = 0; i < sides_.size(); ++i) {
        const HRESULT result = Fill(sources_[i], &sides_[i]);
        if (FAILED(result)) {
            return result;
        }
        start = std::min(start, sides_[i].ended ? kNever : std::max(sides_[i].start, next_));
    }
    if (start == kNever) {
        return S_FALSE;
    }
    std::int64_t stop = start + sources_.front().format().audio.rate;  // a second at most
    for (const Side& side : sides_) {
        if (!side.ended) {
            stop = std::min(stop, side.start > start ? side.start : side.stop);
        }
    }
    next_ = stop;
    return Join(start, stop, packet);
}

/// Makes a packet of both tracks' samples of a time.
HRESULT PinPackets::Join(std::int64_t start, std::int64_t stop, Packet* packet) const {
    const AudioFormat& audio = sources_.front().format().audio;
    const auto bytes = static_cast<std::size_t>(audio.storedFrame());
    const auto count = static_cast<std::size_t>(stop - start);
    packet->data.reset(av_packet_alloc());
    if (!packet->data ||
        av_new_packet(packet->data.get(), static_cast<int>(2 * bytes * count)) < 0) {
        return E_OUTOFMEMORY;
    }
    std::memset(packet->data->data, SilentByte(audio.pcm.kind), 2 * bytes * count);
    for (std::size_t i = 0; i < sides_.size(); ++i) {
        const Side& side = sides_[i];
        if (side.ended || side.start > start) {
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
