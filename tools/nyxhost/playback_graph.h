#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "clip_source.h"
#include "one_filter_rule.h"

namespace nyx::host {

/// A frame at the end of the graph.
struct ArrivedFrame {
    LONG index;             ///< of the clip's frame that it was decoded from
    IMediaSample& sample;   ///< with its picture, times and flags
    const MediaType& type;  ///< the type in force for it
    bool typeChanged;       ///< the type came with this very sample
};

/// One pass over the clip.
struct PassResult {
    PassReport source;
    LONG arrived = 0;             ///< frames that reached the end
    double seconds = 0;           ///< from start to end of stream
    double decodeMsPerFrame = 0;  ///< per frame sent, without reading and without the callback
};

/// A filter graph that plays a clip through whatever decoder the system finds for it:
/// source -> decoder -> sample grabber -> null renderer. All calls from one thread of the
/// multithreaded apartment.
class PlaybackGraph {
  public:
    /// Called for each frame that arrives, in the streaming thread. What it throws ends the pass
    /// and comes out of Play().
    using OnFrame = std::function<void(const ArrivedFrame&)>;

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
    PlaybackGraph(const PlaybackGraph&) = delete;
    PlaybackGraph& operator=(const PlaybackGraph&) = delete;

    /// The name of the decoder that the system found.
    const std::string& DecoderName() const { return decoderName_; }

    /// The type that the graph's end was connected with.
    const MediaType& ConnectedType() const { return connectedType_; }

    /// Plays the clip once from its first frame as fast as it decodes. `progress` is called now and
    /// then in the calling thread with the number of frames arrived so far. Failure kInterrupted,
    /// kInput for a frame that cannot be read, kPlatform when the graph aborts.
    PassResult Play(const std::function<void(LONG)>& progress);

  private:
    class GrabberCallback;

    ComPtr<IPin> AddGrabber(const PictureFormat& format);
    ComPtr<IPin> AddOwnSink();
    void AddNullRenderer();
    void Arrive(IMediaSample& sample);
    void WaitForEnd(const std::function<void(LONG)>& progress);

    const ClipReader& clip_;
    OnFrame onFrame_;
    // These two stand before the graph that holds them, and so outlive it.
    OneFilterRule rule_;
    std::unique_ptr<GrabberCallback> callback_;
    ComPtr<IGraphBuilder> graph_;
    ComPtr<ClipSource> source_;
    ComPtr<IBaseFilter> end_;  // the grabber or the own sink
    std::string decoderName_;
    MediaType connectedType_;
    MediaType currentType_;

    std::atomic<LONG> arrived_{0};
    std::chrono::steady_clock::duration callbackTime_{};
    std::exception_ptr thrown_;
};

}  // namespace nyx::host
