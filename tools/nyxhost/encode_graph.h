#pragma once

#include "clip_graph.h"
#include "encoder_filter.h"
#include "picture_format.h"

namespace nyx::host {

/// A filter graph that compresses a clip of pictures: source -> encoder -> the tool's own sink.
class EncodeGraph final : public ClipGraph {
  public:
    /// Builds the graph over `clip`, which must outlive it and whose pictures are of `format`.
    /// Failure kRefused when the encoder does not take them, kPlatform otherwise.
    EncodeGraph(const ClipReader& clip, const PictureFormat& format, const EncoderFilter& encoder,
                OnFrame onFrame);
};

}  // namespace nyx::host
