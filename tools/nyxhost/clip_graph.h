#pragma once

#include <dshow.h>

#include <exception>
#include <functional>

#include "clip_source.h"
#include "frame_sink.h"

namespace nyx::host {

/// A frame at the end of the graph.
struct ArrivedFrame {
    LONG index;             ///< of the clip's frame that it was made from
    IMediaSample& sample;   ///< with its data, times and flags
    const MediaType& type;  ///< the type in force for it
    bool typeChanged;       ///< the type came with this very sample
};

/// One pass over the clip.
struct PassResult {
    PassReport source;
    LONG arrived = 0;            ///< frames that reached the end
    double seconds = 0;          ///< from start to end of stream
    double codecMsPerFrame = 0;  ///< per frame sent, without reading and without the callback
};

/// A filter graph that plays a clip through a codec's filter to an end that hands on each frame.
/// The derived class builds it. All calls from one thread of the multithreaded apartment.
class ClipGraph {
  public:
    /// Called for each frame that arrives, in the streaming thread. What it throws ends the pass
    /// and comes out of Play().
    using OnFrame = std::function<void(const ArrivedFrame&)>;

    ClipGraph(const ClipGraph&) = delete;
    ClipGraph& operator=(const ClipGraph&) = delete;

    /// The type that the graph's end was connected with.
    const MediaType& ConnectedType() const { return connectedType_; }

    /// Plays the clip once from its first frame as fast as it goes. `progress` is called now and
    /// then in the calling thread with the number of frames arrived so far. Failure kInterrupted,
    /// kInput for a frame that cannot be read, kPlatform when the graph aborts.
    PassResult Play(const std::function<void(LONG)>& progress);

  protected:
    /// A graph that holds `source` and nothing else yet.
    ClipGraph(ClipSource* source, OnFrame onFrame);
    ~ClipGraph() { Close(); }

    /// Adds the tool's own sink as the graph's end and gives its pin.
    ComPtr<IPin> AddOwnSink(FrameSink::Accept accept);

    /// To be called when the graph's end is connected by its pin `input`.
    void Complete(IPin* input);

    /// Hands a frame on; for the graph's end, in the streaming thread.
    void Arrive(IMediaSample& sample);

    /// Stops the graph and lets go of it; what it held without a count may go afterwards.
    void Close();

    ComPtr<IGraphBuilder> graph_;
    ComPtr<ClipSource> source_;

  private:
    void WaitForEnd(const std::function<void(LONG)>& progress);

    OnFrame onFrame_;
    MediaType connectedType_;
    MediaType currentType_;
    std::atomic<LONG> arrived_{0};
    std::chrono::steady_clock::duration callbackTime_{};
    std::exception_ptr thrown_;
};

}  // namespace nyx::host
