#pragma once

#include <climits>
#include <string>

#include "clip_graph.h"
#include "footage.h"
#include "frame_source.h"
#include "picture_format.h"

namespace nyx::host {

/// A filter graph that plays a file of footage, or frames from memory, through the decoder that the
/// system chooses: source -> decoder -> the tool's own sink.
class PlaybackGraph final : public ClipGraph {
  public:
    struct Options {
        bool packets = false;  ///< the sink receives packets as stored, without a decoder
        const PictureFormat* format = nullptr;  ///< of pictures; null for the decoder's first
        Place from;
        LONG frames = LONG_MAX;  ///< number of frames to play
    };

    /// Builds the graph over the file `path`. Failures of Footage, kPastEnd included; those of
    /// ExplainFailedConnection when no decoder is found; kPlatform otherwise.
    PlaybackGraph(const std::string& path, const Options& options, OnFrame onFrame);

    /// Builds the graph over frames from memory, to play all of them.
    PlaybackGraph(const FrameList& frames, const Options& options, OnFrame onFrame);

    /// The file; only with the constructor that takes its path.
    const Footage& Clip() const { return *footage_; }

    /// The name of the decoder that the system chose; empty without a decoder.
    const std::string& DecoderName() const { return decoderName_; }

  private:
    ComPtr<IPin> ConnectEnd(IPin* from, const MediaType& compressed, const Options& options);

    std::unique_ptr<Footage> footage_;
    std::string decoderName_;
};

}  // namespace nyx::host
