#pragma once

#include "clip_graph.h"
#include "encoder_filter.h"
#include "footage.h"
#include "frame_source.h"
#include "playback_graph.h"

namespace nyx::host {

/// A filter graph that compresses pictures: source -> encoder -> the tool's own sink, with a
/// decoder between for footage.
class EncodeGraph final : public ClipGraph {
  public:
    /// Builds the graph over raw pictures, or over a range of the file of footage `path`. Failure
    /// kRefused when the encoder refuses the pictures, kPlatform otherwise, and those of Footage,
    /// kPastEnd included.
    EncodeGraph(const FrameList& pictures, const EncoderFilter& encoder, OnFrame onFrame);
    EncodeGraph(const std::string& path, const PlaybackGraph::Options& range,
                const EncoderFilter& encoder, OnFrame onFrame);

    /// The audio of the footage; none with raw pictures.
    std::vector<SourceStream> Audio() const {
        return footage_ ? footage_->Audio() : std::vector<SourceStream>();
    }

    /// The input in words, and its rate in frames per second.
    const std::string& Description() const { return description_; }
    std::pair<LONG, LONG> Rate() const { return rate_; }

  private:
    /// Connects `from`, which offers `type`, to the encoder and the encoder to the sink. Returns
    /// the sink's pin.
    ComPtr<IPin> Connect(IPin* from, const MediaType& type, const EncoderFilter& encoder);

    std::unique_ptr<Footage> footage_;
    std::string description_;
    std::pair<LONG, LONG> rate_;
};

}  // namespace nyx::host
