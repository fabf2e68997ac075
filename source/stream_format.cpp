#include "source/stream_format.h"

#include <algorithm>
#include <cstring>

#include "platform/fourcc.h"
#include "source/failures.h"

namespace nyx::source {
namespace {

/// Longer groups of pictures than this are not made.
constexpr int kLongestGroup = 16;
constexpr int kWidest = 16384;
/// More than any buffer of a 32-bit process should be.
constexpr std::int64_t kMostBytes = 256 << 20;
constexpr int kFastest = 1000;  // frames per second
constexpr int kMostChannels = 64;
constexpr int kMostSamples = 768000;  // a second

/// v210: groups of 48 pixels and 128 bytes.
std::int64_t TenBitFrame(const VideoFormat& format) {
    return std::int64_t{(format.width + 47) / 48 * 128} * format.height;
}

/// The longest packet that the container's index names, 0 without a complete one.
std::int64_t LongestIndexed(AVStream* stream) {
    const int count = avformat_index_get_entries_count(stream);
    std::int64_t longest = 0;
    for (int i = 0; i < count; ++i) {
        const int size = avformat_index_get_entry(stream, i)->size;
        if (size <= 0) {
            return 0;
        }
        longest = std::max<std::int64_t>(longest, size);
    }
    return longest;
}

HRESULT DescribeDv(const std::vector<LibavPtr<AVPacket>>& seen, VideoFormat* format) {
    if (seen.empty()) {
        return kUnsupportedVideo;
    }
    const AVPacket& frame = *seen.front();
    const AVDVProfile* profile =
        av_dv_frame_profile(nullptr, frame.data, static_cast<unsigned>(frame.size));
    format->fourcc = profile ? DvFourCC(*profile) : 0;
    if (format->fourcc == 0 || frame.size < profile->frame_size) {
        return kUnsupportedVideo;
    }
    format->width = profile->width;
    format->height = profile->height;
    format->wholeFrame = static_cast<DWORD>(profile->frame_size);
    if (format->aspect.num <= 0) {
        const ByteSpan bytes(frame.data, static_cast<std::size_t>(frame.size));
        format->aspect =
            profile->height >= 720 || DvIsWide(bytes) ? AVRational{16, 9} : AVRational{4, 3};
    }
    if (format->fields == AV_FIELD_UNKNOWN) {
        format->fields = profile->height == 720    ? AV_FIELD_PROGRESSIVE
                         : profile->height == 1080 ? AV_FIELD_TT
                                                   : AV_FIELD_BB;
    }
    return S_OK;
}

HRESULT DescribeMpeg(const std::vector<LibavPtr<AVPacket>>& seen, VideoFormat* format) {
    if (seen.empty()) {
        return kUnsupportedVideo;
    }
    // ISO/IEC 13818-2, table 6-3; other codes stand for square pixels or for forms nobody uses.
    constexpr int kAspect4To3 = 2;
    constexpr int kAspect16To9 = 3;
    for (const auto& packet : seen) {
        const MpegPicture picture =
            ReadMpegPicture({packet->data, static_cast<std::size_t>(packet->size)});
        if (!picture.intra) {
            return kUnsupportedVideo;
        }
        if (format->aspect.num <= 0 && picture.aspectCode == kAspect4To3) {
            format->aspect = {4, 3};
        } else if (format->aspect.num <= 0 && picture.aspectCode == kAspect16To9) {
            format->aspect = {16, 9};
        }
    }
    format->height = ShownLines(format->width, format->height);
    return S_OK;
}

/// The aspect of the whole picture by that of a coded pixel; nothing when the container has none.
AVRational AspectOf(AVFormatContext* file, AVStream* stream) {
    const AVRational pixel = av_guess_sample_aspect_ratio(file, stream, nullptr);
    AVRational aspect{};
    if (pixel.num > 0 && pixel.den > 0) {
        av_reduce(&aspect.num, &aspect.den, std::int64_t{stream->codecpar->width} * pixel.num,
                  std::int64_t{stream->codecpar->height} * pixel.den, 1 << 16);
    }
    return aspect;
}

/// GXF counts fields, which makes the average that of fields.
AVRational RateOf(const AVFormatContext& file, const AVStream& stream) {
    const bool fields = std::strcmp(file.iformat->name, "gxf") == 0;
    const AVRational average = stream.avg_frame_rate;
    const AVRational basic = stream.r_frame_rate;
    for (const AVRational rate : {fields ? basic : average, fields ? average : basic}) {
        if (rate.num > 0 && rate.den > 0 && rate.num / rate.den <= kFastest) {
            return rate;
        }
    }
    return {};
}

/// Buffers and bit rate, once the picture is known.
HRESULT Measure(AVStream* stream, VideoFormat* format) {
    if (format->fourcc == FourCC("Q210")) {
        format->wholeFrame = static_cast<DWORD>(TenBitFrame(*format));
    }
    std::int64_t longest = LongestIndexed(stream);
    if (longest == 0) {
        // Intra-coded frames stay below the picture itself, at 32 bits a pixel.
        longest = std::int64_t{format->width} * format->height * 4 + 4096;
    }
    longest = std::max<std::int64_t>(longest, format->wholeFrame);
    if (longest > kMostBytes) {
        return kUnsupportedVideo;
    }
    format->largestPacket = static_cast<DWORD>(longest);
    std::int64_t bits = stream->codecpar->bit_rate;
    if (bits <= 0 && format->wholeFrame > 1) {
        bits = av_rescale(std::int64_t{format->wholeFrame} * 8, format->rate.num, format->rate.den);
    }
    format->bitRate = static_cast<DWORD>(std::clamp<std::int64_t>(bits, 0, 0x7FFFFFFF));
    return S_OK;
}

}  // namespace

int FramesToSee(const AVCodecParameters& parameters) {
    const std::optional<StreamKind> kind = StreamKindOf(parameters);
    if (!kind) {
        return 0;
    }
    return kind->coding == Coding::kMpeg2 ? kLongestGroup : kind->coding == Coding::kDv ? 1 : 0;
}

HRESULT DescribeVideo(AVFormatContext* file, AVStream* stream,
                      const std::vector<LibavPtr<AVPacket>>& seen, VideoFormat* format) {
    const AVCodecParameters& parameters = *stream->codecpar;
    const std::optional<StreamKind> kind = StreamKindOf(parameters);
    if (!kind) {
        return kUnsupportedStream;
    }
    format->fourcc = kind->fourcc;
    format->bitCount = kind->bitCount;
    format->width = parameters.width;
    format->height = parameters.height;
    format->rate = RateOf(*file, *stream);
    format->aspect = AspectOf(file, stream);
    format->fields = parameters.field_order;
    HRESULT result = S_OK;
    if (kind->coding == Coding::kDv) {
        result = DescribeDv(seen, format);
    } else if (kind->coding == Coding::kMpeg2) {
        result = DescribeMpeg(seen, format);
    }
    if (FAILED(result)) {
        return result;
    }
    if (format->width <= 0 || format->height <= 0 || format->width > kWidest ||
        format->height > kWidest || format->rate.num <= 0) {
        return kUnsupportedVideo;
    }
    if (format->aspect.num <= 0) {
        const bool standard = format->width == 720 && format->height <= 576;
        format->aspect = standard ? AVRational{4, 3} : av_make_q(format->width, format->height);
        av_reduce(&format->aspect.num, &format->aspect.den, format->aspect.num, format->aspect.den,
                  1 << 16);
    }
    return Measure(stream, format);
}

bool DescribeAudio(const AVCodecParameters& parameters, AudioFormat* format) {
    const std::optional<PcmFormat> pcm = PcmFormatOf(parameters.codec_id);
    const AVChannelLayout& layout = parameters.ch_layout;
    if (!pcm || layout.nb_channels <= 0 || layout.nb_channels > kMostChannels ||
        parameters.sample_rate <= 0 || parameters.sample_rate > kMostSamples) {
        return false;
    }
    format->pcm = *pcm;
    format->rate = parameters.sample_rate;
    format->channels = layout.nb_channels;
    if (layout.order == AV_CHANNEL_ORDER_NATIVE && layout.u.mask >> 18 == 0) {
        format->channelMask = static_cast<DWORD>(layout.u.mask);
    } else if (layout.nb_channels <= 2) {
        format->channelMask = layout.nb_channels == 1 ? 0x4 : 0x3;
    }
    return true;
}

}  // namespace nyx::source
