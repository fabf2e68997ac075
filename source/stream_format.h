#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "source/pcm.h"
#include "source/stream_kind.h"

namespace nyx::source {

/// The format of a stream of video.
struct VideoFormat {
    DWORD fourcc = 0;
    WORD bitCount = 0;  ///< as the decoder of the FourCC expects it
    LONG width = 0;
    LONG height = 0;      ///< as shown
    AVRational rate{};    ///< frames per second
    AVRational aspect{};  ///< of the whole picture
    AVFieldOrder fields = AV_FIELD_UNKNOWN;
    DWORD bitRate = 0;        ///< bits per second, 0 when not known
    DWORD largestPacket = 0;  ///< bytes; no frame may be longer
    DWORD wholeFrame = 1;     ///< bytes; a shorter packet is a torn frame
};

/// The format of a stream of audio.
struct AudioFormat {
    PcmFormat pcm{};
    int rate = 0;  ///< frames per second
    int channels = 0;
    DWORD channelMask = 0;  ///< as in WAVEFORMATEXTENSIBLE, 0 when not known
    bool inDv = false;      ///< extracted from frames of DV, whose rate may change

    int storedFrame() const { return pcm.storedBytes * channels; }
    int deliveredFrame() const { return pcm.deliveredBytes * channels; }
};

/// One stream that a pin delivers.
struct StreamFormat {
    int index = 0;  ///< in the file
    AVRational timeBase{};
    REFERENCE_TIME start = 0;  ///< of its first packet, in the container
    REFERENCE_TIME duration = 0;
    std::optional<VideoFormat> video{};
    AudioFormat audio{};  ///< of a stream without video
};

/// How long a picture lasts, in ticks of the stream's time base; at least one.
std::int64_t FrameTicks(const StreamFormat& stream);

using Packets = std::vector<LibavPtr<AVPacket>>;

/// How many frames of a stream DescribeVideo needs.
std::size_t FramesToSee(const AVCodecParameters& parameters);

/// Describes a video stream. `seen` holds its first frames: as many as FramesToSee asks for, or
/// all. `kUnsupportedStream` for another coding than ours, `kUnsupportedVideo` for a variant
/// without a decoder (predicted pictures, no size, an unknown kind of DV), `kInvalidFileFormat`
/// without a frame.
[[nodiscard]] HRESULT DescribeVideo(AVFormatContext* file, AVStream* stream, const Packets& seen,
                                    VideoFormat* format);

/// Describes an audio stream; false when it is compressed, or its channels or rate are out of
/// range.
bool DescribeAudio(const AVFormatContext& file, const AVStream& stream, AudioFormat* format);

/// Containers, by the names of libavformat's demuxers.
constexpr std::string_view kAvi = "avi";  ///< repeats a picture by a tick of its own without bytes
constexpr std::string_view kGxf = "gxf";  ///< counts fields
constexpr std::string_view kMov = "mov,mp4,m4a,3gp,3g2,mj2";
constexpr std::string_view kMxf = "mxf";
constexpr std::string_view kRawDv = "dv";  ///< nothing but DV frames
/// Nothing but an MPEG-2 stream, whose bit rate may promise any duration.
constexpr std::string_view kRawMpeg2 = "mpegvideo";
constexpr std::string_view kProgramStream = "mpeg";  ///< of MPEG-2, .mpg; cuts frames anywhere
constexpr std::string_view kTransportStream = "mpegts";

inline std::string_view ContainerOf(const AVFormatContext& file) {
    return file.iformat->name;
}

/// True for a container that counts fields, or frames that are not stored. libavformat assumes that
/// a frame of it lasts one tick.
bool CountsTicks(const AVFormatContext& file);

/// Whether the payloads of a file with this first stream may be deferred (container_input.h), since
/// the demuxer does not inspect them: MOV and MXF, and AVI for Q210, unless DV audio is extracted
/// from them or the parser of MPEG-2 reads them.
bool MayDefer(const AVFormatContext& file, const StreamFormat& first);

}  // namespace nyx::source
