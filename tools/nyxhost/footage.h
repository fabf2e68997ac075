#pragma once

#include <dshow.h>

#include <string>
#include <utility>
#include <vector>

#include "com.h"
#include "host/media_type.h"

namespace nyx::host {

/// A pin of a source and what it offers first.
struct SourceStream {
    ComPtr<IPin> pin;
    MediaType type;
};

/// Where in a clip to begin.
struct Place {
    LONG frame = 0;            ///< by number
    REFERENCE_TIME time = -1;  ///< where not negative: the frame that is shown then
};

/// A file of footage as a graph plays it: the source that the platform gives for the file, or the
/// "Nyx Footage Source" by its class where the platform gives another one.
class Footage {
  public:
    /// Puts the source of `path` (UTF-8) into `graph`. Failure kInput when the file cannot be read,
    /// kNotFootage, with the source's reason, when it holds no video of ours, kNoDecoder when there
    /// is no such source.
    Footage(IGraphBuilder* graph, const std::string& path);

    const SourceStream& Video() const { return video_; }
    const std::vector<SourceStream>& Sound() const { return audio_; }

    /// The length of the longest stream, in 100-ns units and in frames; of a file that does not
    /// tell, an estimate.
    REFERENCE_TIME Duration() const;
    LONG FrameCount() const { return FrameAt(Duration()); }

    /// The frame that is shown at a time of the file, and the time at which a frame begins.
    LONG FrameAt(REFERENCE_TIME time) const;
    REFERENCE_TIME TimeOf(LONG frame) const;

    /// The frame at a place. Failure kPastEnd where there is none.
    LONG FrameAt(const Place& place) const;

    /// Plays `count` frames from frame `first` on, or as many as there are. Failure kPlatform.
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

/// "2 channels, 48000 Hz, 16 bits" of a stream of sound.
std::string DescribeAudio(const MediaType& type);

/// The rate of a video type: frames per second, a fraction. Types tell a frame's length cut to 100
/// ns, from which the usual rates are found again.
std::pair<LONG, LONG> RateOf(const MediaType& type);

}  // namespace nyx::host
