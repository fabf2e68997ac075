#pragma once

#include <dshow.h>

#include <chrono>
#include <exception>
#include <functional>
#include <vector>

#include "com.h"
#include "footage.h"
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
    HRESULT result;  ///< from the codec; S_OK when it reported none
};

/// One pass over the clip.
struct PassResult {
    LONG arrived = 0;             ///< frames that reached the end
    std::vector<LostFrame> lost;  ///< in order
    double seconds = 0;           ///< from start to end of stream
    /// From the first arrival to the last, without the graph's start and stop; 0 with less than
    /// two.
    double secondsPerFrame = 0;
};

/// Prints "75 frames in 1.20 s: 62.5 frames per second with reading and writing, 16.00 ms per
/// frame".
void PrintSpeed(const PassResult& result);

/// Warns of frames that the codec refused or dropped. Returns kDecode when there are any, else kOk.
/// `verb` completes "frame 1 could not be ...".
ExitCode ReportLostFrames(const PassResult& result, const char* verb);

/// A filter graph that plays a clip through a codec's filter to a sink, which passes each frame on.
/// The derived class builds it. All calls from one thread of the multithreaded apartment.
class ClipGraph {
  public:
    /// Called for each frame that arrives, in the streaming thread. An exception ends the pass, and
    /// Play() rethrows it.
    using OnFrame = std::function<void(const ArrivedFrame&)>;

    ClipGraph(const ClipGraph&) = delete;
    ClipGraph& operator=(const ClipGraph&) = delete;

    /// The type that the sink was connected with.
    const MediaType& ConnectedType() const { return connectedType_; }

    /// The number of frames that Play delivers, by the clip's own duration.
    LONG FrameCount() const { return count_; }

    /// Passes the samples of a stream of the clip's audio to `onSample` while frames play. Call it
    /// before Play(); an exception from `onSample` ends the pass. Failure kPlatform.
    void AddAudioSink(const SourceStream& stream, std::function<void(IMediaSample&)> onSample);

    /// Plays the clip once, as fast as possible, with a progress line that begins with `label`;
    /// with none for an empty label. Failure kInterrupted, or kPlatform when the graph aborts.
    PassResult Play(const std::string& label = {});

  protected:
    /// Maps a time after the start of the first frame played to a frame's number in the clip.
    using FrameAt = std::function<LONG(REFERENCE_TIME)>;

    explicit ClipGraph(OnFrame onFrame);
    ~ClipGraph() = default;

    /// Adds a sink and returns its pin. `onSample` is called in the streaming thread; an exception
    /// ends the pass.
    ComPtr<IPin> AddSink(FrameSink::Accept accept, std::function<void(IMediaSample&)> onSample);

    /// Adds the sink of the frames and returns its pin.
    ComPtr<IPin> AddFrameSink(FrameSink::Accept accept);

    /// Limits intelligent connect from now on to one filter more than the graph has, so that
    /// pictures come from the codec itself and not from a colour converter behind it, and the
    /// search stays short. A graph without IObjectWithSite stays unrestricted.
    void AllowOneFilter();

    /// Call this once the sink's pin `input` is connected. Of the clip `count` frames are played,
    /// from number `first` on.
    void Complete(IPin* input, LONG first, LONG count, FrameAt frameAt);

  private:
    ComPtr<IUnknown> rule_;  ///< of AllowOneFilter; outlives the graph

  protected:
    const ComPtr<IGraphBuilder> graph_;

  private:
    void Arrive(IMediaSample& sample);
    bool HasThrown();
    std::vector<LostFrame> LostFrames() const;

    OnFrame onFrame_;
    FrameAt frameAt_;
    LONG first_ = 0;
    LONG count_ = 0;
    MediaType connectedType_;
    MediaType currentType_;
    using Clock = std::chrono::steady_clock;

    std::atomic<LONG> arrived_{0};
    Clock::time_point firstArrival_;
    Clock::time_point lastArrival_;
    std::vector<LONG> indices_;      ///< of the frames that arrived
    std::vector<HRESULT> failures_;  ///< reported by the source for refused frames
    Mutex thrownLock_;
    std::exception_ptr thrown_;
};

}  // namespace nyx::host
