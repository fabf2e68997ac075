#include "source/stream_format.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

#include "media/v210.h"
#include "platform/fourcc.h"
#include "source/failures.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

constexpr std::size_t kMaxGroup = 16;  // pictures; encoders make no longer groups
constexpr LONG kMaxSide = 16384;
constexpr std::int64_t kMaxBytes = 256 << 20;  // of a buffer, in a 32-bit process
constexpr int kMaxRate = 1000;                 // frames per second
constexpr int kMaxChannels = 64;
constexpr int kMaxSamples = 768000;  // per second

bool IsSet(AVRational value) {
    return value.num > 0 && value.den > 0;
}

ByteSpan BytesOf(const AVPacket& packet) {
    return {packet.data, static_cast<std::size_t>(packet.size)};
}

bool DescribeDv(const AVPacket& frame, VideoFormat* format) {
    const AVDVProfile* profile =
        av_dv_frame_profile(nullptr, frame.data, static_cast<unsigned>(frame.size));
    if (!profile || frame.size < profile->frame_size) {
        return false;
    }
    const int height = profile->height;
    format->fourcc = DvFourCC(*profile);
    format->width = profile->width;
    format->height = height;
    format->wholeFrame = static_cast<DWORD>(profile->frame_size);
    format->rate = IsSet(format->rate) ? format->rate : av_inv_q(profile->time_base);
    if (!IsSet(format->aspect)) {
        const bool wide = height >= 720 || DvIsWide(BytesOf(frame));
        format->aspect = wide ? AVRational{16, 9} : AVRational{4, 3};
    }
    if (format->fields == AV_FIELD_UNKNOWN) {
        format->fields = height == 720    ? AV_FIELD_PROGRESSIVE
                         : height == 1080 ? AV_FIELD_TT
                                          : AV_FIELD_BB;
    }
    return format->fourcc != 0;
}

bool DescribeMpeg(const Packets& seen, VideoFormat* format) {
    format->fourcc = FourCC("QMIC");
    format->height = ShownLines(format->width, format->height);
    return std::all_of(seen.begin(), seen.end(), [format](const auto& packet) {
        const MpegPicture picture = ReadMpegPicture(BytesOf(*packet));
        format->aspect = IsSet(format->aspect) ? format->aspect : picture.aspect;
        return picture.intra;
    });
}

/// The aspect of a whole picture, given that of a pixel, which may be unknown.
AVRational AspectOf(int width, int height, AVRational pixel) {
    AVRational aspect{};
    if (IsSet(pixel)) {
        av_reduce(&aspect.num, &aspect.den, std::int64_t{width} * pixel.num,
                  std::int64_t{height} * pixel.den, 1 << 16);
    }
    return aspect;
}

/// The rate of the pictures in AVI, given the ticks at which they begin: the clock may run at a
/// multiple of it. Nothing without an index of some of them.
AVRational RateOfTicks(AVStream* stream) {
    constexpr int kMinEntries = 4;
    const int count = avformat_index_get_entries_count(stream);
    std::int64_t ticks = 0;  // the greatest common divisor of the pictures' distances
    for (int i = 1; i < count && ticks != 1; ++i) {
        ticks = std::gcd(ticks, Difference(avformat_index_get_entry(stream, i)->timestamp,
                                           avformat_index_get_entry(stream, i - 1)->timestamp));
    }
    AVRational rate{};
    if (count >= kMinEntries && ticks > 0) {
        av_reduce(&rate.num, &rate.den, stream->time_base.den, stream->time_base.num * ticks,
                  INT32_MAX);
    }
    return rate;
}

/// The longest packet in the container's index; 0 unless the index names every frame.
std::int64_t LongestIndexed(AVStream* stream, AVRational rate) {
    const int count = avformat_index_get_entries_count(stream);
    const std::int64_t indexed = av_rescale_q(count, av_inv_q(rate), stream->time_base);
    std::int64_t longest = 0;
    std::int64_t shortest = stream->duration > 0 && indexed >= stream->duration ? 1 : 0;
    for (int i = 0; i < count; ++i) {
        const std::int64_t size = avformat_index_get_entry(stream, i)->size;
        longest = std::max(longest, size);
        shortest = std::min(shortest, size);
    }
    return shortest > 0 ? longest : 0;
}

/// Sets sizes and bit rate, once the picture is described; false for too large frames.
bool Measure(AVStream* stream, VideoFormat* format) {
    if (format->fourcc == FourCC("Q210")) {
        format->wholeFrame = static_cast<DWORD>(V210Stride(format->width) * format->height);
    }
    std::int64_t longest = LongestIndexed(stream, format->rate);
    std::int64_t bits = stream->codecpar->bit_rate;
    if (format->wholeFrame > 1) {  // all frames are of one size
        longest = std::max<std::int64_t>(longest, format->wholeFrame);
        bits = av_rescale(std::int64_t{format->wholeFrame} * 8, format->rate.num, format->rate.den);
    } else if (longest == 0) {
        // Intra-coded frames stay below the picture itself, at 32 bits a pixel.
        longest = std::int64_t{format->width} * format->height * 4 + 4096;
    }
    format->largestPacket = static_cast<DWORD>(std::min(longest, kMaxBytes));
    format->bitRate = static_cast<DWORD>(std::clamp<std::int64_t>(bits, 0, UINT32_MAX));
    return longest <= kMaxBytes;
}

/// A track of MOV that holds frames of DV for their audio, which libavformat extracts.
bool IsDvTrack(const AVStream* stream) {
    const DWORD tag = stream->codecpar->codec_tag;
    return tag == FourCC("dvca") || tag == FourCC("vdva");
}

/// Whether libavformat reads the payloads of a stream.
bool IsInspected(const AVStream* stream) {
    return IsDvTrack(stream) || stream->codecpar->codec_id == AV_CODEC_ID_MPEG2VIDEO;
}

}  // namespace

std::int64_t FrameTicks(const StreamFormat& stream) {
    const AVRational frame = av_inv_q(stream.video->rate);
    return std::max<std::int64_t>(av_rescale_q(1, frame, stream.timeBase), 1);
}

bool CountsTicks(const AVFormatContext& file) {
    return ContainerOf(file) == kGxf || ContainerOf(file) == kAvi;
}

bool MayDefer(const AVFormatContext& file, const StreamFormat& first) {
    const DWORD fourcc = first.video ? first.video->fourcc : 0;
    const std::string_view kind = ContainerOf(file);
    const bool known = fourcc == FourCC("Q210") ||
                       (fourcc != 0 && fourcc != FourCC("QMIC") && (kind == kMov || kind == kMxf));
    return known && std::none_of(file.streams, file.streams + file.nb_streams, IsInspected);
}

std::size_t FramesToSee(const AVCodecParameters& parameters) {
    const Coding coding = CodingOf(parameters);
    return coding == Coding::kMpeg2 ? kMaxGroup : coding == Coding::kDv ? 1 : 0;
}

HRESULT DescribeVideo(AVFormatContext* file, AVStream* stream, const Packets& seen,
                      VideoFormat* format) {
    const AVCodecParameters& parameters = *stream->codecpar;
    const Coding coding = CodingOf(parameters);
    if (coding == Coding::kOther) {
        return kUnsupportedStream;
    }
    format->fourcc = coding == Coding::kTagged ? parameters.codec_tag : FourCC("Q210");
    format->width = parameters.width;
    format->height = parameters.height;
    format->rate = CountsTicks(*file) ? AVRational{} : stream->avg_frame_rate;
    format->aspect = AspectOf(parameters.width, parameters.height,
                              av_guess_sample_aspect_ratio(file, stream, nullptr));
    format->fields = parameters.field_order;
    if (FramesToSee(parameters) > 0 && seen.empty()) {
        return kInvalidFileFormat;
    }
    if ((coding == Coding::kDv && !DescribeDv(*seen.front(), format)) ||
        (coding == Coding::kMpeg2 && !DescribeMpeg(seen, format))) {
        return kUnsupportedVideo;
    }
    if (ContainerOf(*file) == kAvi && !IsSet(format->rate)) {
        format->rate = RateOfTicks(stream);
    }
    if (coding == Coding::kMpeg2 && !IsSet(format->rate)) {
        format->rate = ReadMpegPicture(BytesOf(*seen.front())).rate;
    }
    format->rate = IsSet(format->rate) ? format->rate : stream->r_frame_rate;
    format->bitCount = format->fourcc == FourCC("Q210") ? 20 : 24;
    if (coding == Coding::kTagged && parameters.bits_per_coded_sample > 0) {
        format->bitCount = static_cast<WORD>(parameters.bits_per_coded_sample);
    }
    if (format->width <= 0 || format->height <= 0 || format->width > kMaxSide ||
        format->height > kMaxSide || !IsSet(format->rate) ||
        format->rate.num / format->rate.den > kMaxRate) {
        return kUnsupportedVideo;
    }
    if (!IsSet(format->aspect)) {
        const bool standard = format->width == 720 && format->height <= 576;
        format->aspect =
            standard ? AVRational{4, 3} : AspectOf(format->width, format->height, {1, 1});
    }
    return Measure(stream, format) ? S_OK : kUnsupportedVideo;
}

bool DescribeAudio(const AVFormatContext& file, const AVStream& stream, AudioFormat* format) {
    const AVCodecParameters& parameters = *stream.codecpar;
    const std::string_view kind = ContainerOf(file);
    const std::optional<PcmFormat> pcm = PcmFormatOf(parameters.codec_id);
    const AVChannelLayout& layout = parameters.ch_layout;
    if (!pcm || layout.nb_channels <= 0 || layout.nb_channels > kMaxChannels ||
        parameters.sample_rate <= 0 || parameters.sample_rate > kMaxSamples) {
        return false;
    }
    *format = {.pcm = *pcm, .rate = parameters.sample_rate, .channels = layout.nb_channels};
    format->inDv =
        IsDvTrack(&stream) || kind == kRawDv || (kind == kAvi && parameters.codec_tag == 0);
    if (layout.order == AV_CHANNEL_ORDER_NATIVE && layout.u.mask >> 18 == 0) {
        format->channelMask = static_cast<DWORD>(layout.u.mask);
    } else if (layout.nb_channels <= 2) {
        format->channelMask = layout.nb_channels == 1 ? 0x4 : 0x3;  // centre, left and right
    }
    return true;
}

}  // namespace nyx::source
