#pragma once

#include <dshow.h>

#include <string>
#include <utility>
#include <vector>

#include "com.h"
#include "host/media_type.h"
#include "platform/footage_info.h"

namespace nyx::host {

/// Failure kInput for a file that is missing or cannot be read, and for a port or a pipe: the
/// system would wait for its bytes.
void CheckReadable(const std::string& path);

/// A pin of a source and the first type that it offers.
struct SourceStream {
    ComPtr<IPin> pin;
    MediaType type;
};

/// Where to start in a clip.
struct Place {
    LONG frame = 0;            ///< number of the first frame
    REFERENCE_TIME time = -1;  ///< unless negative: the frame shown at this time instead
};

/// Failure kPastEnd: `path` has only `frames` frames.
Failure PastEnd(const std::string& path, LONG frames);

/// A file of footage in a graph, read by the "Nyx Footage Source".
class Footage {
  public:
    /// Adds the source of `path` (UTF-8) to `graph`. Failure kInput when the file cannot be read,
    /// kNotFootage, with the source's reason, when it has no supported video, kNoDecoder when the
    /// source is missing.
    Footage(IGraphBuilder* graph, const std::string& path);

    const SourceStream& Video() const { return video_; }
    const std::vector<SourceStream>& Audio() const { return audio_; }

    /// The length of the longest stream, in 100-ns units and in frames; an estimate for files that
    /// do not state it.
    REFERENCE_TIME Duration() const;
    LONG FrameCount() const { return FrameAt(Duration()); }

    /// The frame shown at a time of the file, and the time at which a frame begins.
    LONG FrameAt(REFERENCE_TIME time) const;
    REFERENCE_TIME TimeOf(LONG frame) const;

    /// The frame at a place. Failure kPastEnd.
    LONG FrameAt(const Place& place) const;

    /// Selects `count` frames from frame `first` on, or all that remain. Failure kPlatform.
    void Select(LONG first, LONG count) const;

  private:
    LONGLONG Converted(LONGLONG value, const GUID& from, const GUID& to) const;

    SourceStream video_;
    std::vector<SourceStream> audio_;
    ComPtr<IMediaSeeking> seeking_;
    std::string path_;
};

/// "Q210, 1920x1080, 20 bits, 25.000 frames per second, 75 frames, 3.00 s" of the video stream.
std::string DescribeVideo(const Footage& footage);

/// The format block of an audio type.
const WAVEFORMATEX& WaveFormatOf(const MediaType& type);

/// "2 channels, 48000 Hz, 16 bits" of an audio stream.
std::string DescribeAudio(const MediaType& type);

/// The rate of a video type: frames per second, a fraction. Types state a frame's duration rounded
/// down to 100 ns; the usual rates are recovered from it.
std::pair<LONG, LONG> RateOf(const MediaType& type);

/// "01:02:03:04", or "01:02:03;04" with dropped numbers.
std::string TimecodeText(const NyxTimecode& code);

/// The timecode of the picture at a time of the file, and whether the frame itself gives it; "no
/// timecode" where there is none or `info` is null.
std::string TimecodeText(INyxFootageInfo* info, REFERENCE_TIME time);

}  // namespace nyx::host
