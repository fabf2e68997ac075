#pragma once

#include <optional>
#include <vector>

#include "source/pcm.h"
#include "source/stream_kind.h"

namespace nyx::source {

/// What a video pin says of its stream.
struct VideoFormat {
    DWORD fourcc = 0;
    WORD bitCount = 0;  ///< as the decoder of the FourCC knows it
    LONG width = 0;
    LONG height = 0;      ///< as shown
    AVRational rate{};    ///< frames per second
    AVRational aspect{};  ///< of the whole picture
    AVFieldOrder fields = AV_FIELD_UNKNOWN;
    DWORD bitRate = 0;        ///< bits per second, 0 when not known
    DWORD largestPacket = 0;  ///< bytes; no frame may be longer
    DWORD wholeFrame = 1;     ///< bytes; a shorter packet is a torn frame
};

/// What an audio pin says of its stream.
struct AudioFormat {
    PcmFormat pcm{};
    int rate = 0;  ///< frames per second
    int channels = 0;
    DWORD channelMask = 0;  ///< as in WAVEFORMATEXTENSIBLE, 0 when not known
    bool inDv = false;      ///< taken out of frames of DV, whose rate may change

    int storedFrame() const { return pcm.storedBytes * channels; }
    int deliveredFrame() const { return pcm.deliveredBytes * channels; }
};

/// One stream that a pin delivers.
struct StreamFormat {
    int index = 0;  ///< in the file
    AVRational timeBase{};
    REFERENCE_TIME start = 0;  ///< of its first packet, as the container counts
    REFERENCE_TIME duration = 0;
    std::optional<VideoFormat> video;
    AudioFormat audio;  ///< of a stream without video
};

/// Whether what may change in the course of a stream is the same: the system of DV, the rate of
/// sound.
bool IsSameFormat(const StreamFormat& a, const StreamFormat& b);

/// A video stream as it goes on in another system of DV.
StreamFormat WithSystem(const StreamFormat& stream, const AVDVProfile& system);

using Packets = std::vector<LibavPtr<AVPacket>>;

/// How many frames of a stream must be seen before it can be described.
std::size_t FramesToSee(const AVCodecParameters& parameters);

/// Describes a video stream. `seen` holds its first frames, as many as FramesToSee asks or as there
/// are. `kUnsupportedStream` for a coding that is not ours, `kUnsupportedVideo` for a variant
/// without a decoder: predicted pictures, no size, an unknown kind of DV.
[[nodiscard]] HRESULT DescribeVideo(AVFormatContext* file, AVStream* stream, const Packets& seen,
                                    VideoFormat* format);

/// True for a stream of sound that the container takes out of frames of DV.
bool CarriesDvAudio(const AVFormatContext& file, const AVStream& stream);

/// Describes an audio stream; false when it is not uncompressed sound with sensible numbers.
bool DescribeAudio(const AVCodecParameters& parameters, AudioFormat* format);

/// True for a file of nothing but DV frames.
bool IsRawDv(const AVFormatContext& file);

/// True for a file of nothing but an MPEG-2 stream, whose bit rate may promise any duration.
bool IsElementary(const AVFormatContext& file);

/// True for AVI, where a picture that is shown once more takes a tick and no bytes.
bool IsAvi(const AVFormatContext& file);

/// True for a container that counts fields.
bool CountsFields(const AVFormatContext& file);

/// True for a container whose clock may tick more than once a frame, where libavformat takes a
/// frame to last one tick: it counts fields, or frames that are not there.
bool CountsTicks(const AVFormatContext& file);

/// Whether large packets of a file's first stream may stay in the file while it is read, as nobody
/// looks into them. Containers without sound of their own take it out of DV's frames; MPEG-2 goes
/// by a parser.
bool CanStayInFile(const AVFormatContext& file, const StreamFormat& first);

}  // namespace nyx::source
