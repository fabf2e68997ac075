#pragma once

#include <dshow.h>

#include <chrono>
#include <exception>
#include <functional>
#include <vector>

#include "com.h"
#include "frame_sink.h"

namespace nyx::host {

/// A frame at the end of the graph.
struct ArrivedFrame {
    LONG index;             ///< in the clip
    IMediaSample& sample;   ///< with its data, times and flags
    const MediaType& type;  ///< the type in force for it
    bool typeChanged;       ///< the type came with this very sample
};

/// A frame that did not arrive.
struct LostFrame {
    LONG index;
    HRESULT result;  ///< what the codec answered, S_OK when it said nothing
};

/// One pass over the clip.
struct PassResult {
    LONG arrived = 0;             ///< frames that reached the end
    std::vector<LostFrame> lost;  ///< in order
    double seconds = 0;           ///< from start to end of stream
    double secondsPerFrame = 0;   ///< from the first arrival to the last; 0 with less than two
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

    /// Plays the clip once as fast as it goes. `progress` is called now and then in the calling
    /// thread with the number of frames arrived so far. Failure kInterrupted, or kPlatform when the
    /// graph aborts.
    PassResult Play(const std::function<void(LONG)>& progress);

  protected:
    /// The number in the clip of the frame that begins so long after the first one that is played.
    using FrameAt = std::function<LONG(REFERENCE_TIME)>;

    explicit ClipGraph(OnFrame onFrame);
    ~ClipGraph() { Close(); }

    /// Adds a sink and gives its pin. `onSample` is called in the streaming thread; what it throws
    /// ends the pass.
    ComPtr<IPin> AddSink(FrameSink::Accept accept, std::function<void(IMediaSample&)> onSample);

    /// Adds the sink that the frames go to.
    ComPtr<IPin> AddFrameSink(FrameSink::Accept accept);

    /// To be called when the graph's end is connected by its pin `input`. The first frame played is
    /// number `first`.
    void Complete(IPin* input, LONG first, FrameAt frameAt);

    /// Stops the graph and lets go of it; what it held without a count may go afterwards.
    void Close();

    ComPtr<IGraphBuilder> graph_;

  private:
    void Arrive(IMediaSample& sample);
    bool HasThrown();
    std::vector<LostFrame> LostFrames() const;

    OnFrame onFrame_;
    FrameAt frameAt_;
    LONG first_ = 0;
    MediaType connectedType_;
    MediaType currentType_;
    using Clock = std::chrono::steady_clock;

    std::atomic<LONG> arrived_{0};
    Clock::time_point firstArrival_;
    Clock::time_point lastArrival_;
    std::vector<LONG> indices_;      ///< of what arrived
    std::vector<HRESULT> failures_;  ///< what the source said of frames that were refused
    Mutex thrownLock_;
    std::exception_ptr thrown_;
};

}  // namespace nyx::host
