#pragma once

#include <climits>
#include <string>

#include "clip_graph.h"
#include "footage.h"
#include "frame_source.h"
#include "one_filter_rule.h"
#include "picture_format.h"

namespace nyx::host {

/// A filter graph that plays a file of footage, or frames from memory, through whatever decoder the
/// system finds for it: source -> decoder -> the tool's own sink.
class PlaybackGraph final : public ClipGraph {
  public:
    /// What arrives at the graph's end.
    enum class Deliver {
        kPictures,  ///< of `format`, or of whatever the decoder offers first
        kPackets    ///< what the file holds: there is no decoder
    };

    struct Options {
        Deliver deliver = Deliver::kPictures;
        const PictureFormat* format = nullptr;
        Place from;
        LONG frames = LONG_MAX;  ///< play so many
    };

    /// Builds the graph over the file `path`. Failures of Footage, kPastEnd included; those of
    /// ExplainFailedConnection when no decoder is found; kPlatform otherwise.
    PlaybackGraph(const std::string& path, const Options& options, OnFrame onFrame);

    /// The same over all of some frames from memory.
    PlaybackGraph(const FrameList& frames, const Options& options, OnFrame onFrame);

    ~PlaybackGraph() { Close(); }

    /// The file that is played.
    const Footage& Clip() const { return *footage_; }

    /// The number in the clip of the first frame to play.
    LONG FirstFrame() const { return first_; }

    /// How many frames Play will bring, as far as the file tells.
    LONG FramesToCome() const;

    /// Lets `onSample` have the sound of a stream of Clip().Sound() while frames play; before
    /// Play(). What it throws ends the pass. Failure kPlatform.
    void TakeAudio(const SourceStream& stream, std::function<void(IMediaSample&)> onSample);

    /// The name of the decoder that the system found; empty without one.
    const std::string& DecoderName() const { return decoderName_; }

  private:
    ComPtr<IPin> ConnectEnd(IPin* from, const MediaType& compressed);

    const Options options_;
    OneFilterRule rule_;
    std::unique_ptr<Footage> footage_;
    LONG first_ = 0;
    std::string decoderName_;
};

}  // namespace nyx::host
