#pragma once

#include <memory>
#include <string>

#include "clip_graph.h"
#include "one_filter_rule.h"
#include "picture_format.h"

namespace nyx::host {

/// A filter graph that plays a clip through whatever decoder the system finds for it:
/// source -> decoder -> sample grabber -> null renderer.
class PlaybackGraph final : public ClipGraph {
  public:
    struct Options {
        /// What the decoder shall deliver. Null: whatever it offers first, and the tool's own sink
        /// ends the graph, which takes the VIDEOINFOHEADER2 form.
        const PictureFormat* format = nullptr;
        LONG frames = LONG_MAX;   ///< play so many from the first on
        bool videoInfo2 = false;  ///< the block form of the compressed type
    };

    /// Builds the graph over `clip`, which must outlive it. Failure kNoDecoder when nothing is
    /// registered for the clip, kRefused when what is registered refuses, kPlatform otherwise.
    PlaybackGraph(const ClipReader& clip, const Options& options, OnFrame onFrame);
    ~PlaybackGraph();

    /// The name of the decoder that the system found.
    const std::string& DecoderName() const { return decoderName_; }

  private:
    class GrabberCallback;

    void Build(const Options& options);
    ComPtr<IPin> AddGrabber(const PictureFormat& format);
    void AddNullRenderer();

    OneFilterRule rule_;
    std::unique_ptr<GrabberCallback> callback_;
    ComPtr<IBaseFilter> grabber_;
    std::string decoderName_;
};

}  // namespace nyx::host
