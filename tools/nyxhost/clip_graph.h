#pragma once

#include <dshow.h>

#include <chrono>
#include <climits>
#include <exception>
#include <functional>
#include <vector>

#include "com.h"
#include "encoder_filter.h"
#include "footage.h"
#include "frame_sink.h"
#include "frame_source.h"
#include "graph_tools.h"
#include "picture_format.h"

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

/// A filter graph that plays a file of footage, or frames from memory, to the tool's own sink:
/// through the decoder that the system chooses, through an encoder, with a decoder between for
/// footage, or as stored. All calls from one thread.
class ClipGraph {
  public:
    struct Options {
        bool packets = false;  ///< the sink receives packets as stored, without a decoder
        const PictureFormat* format = nullptr;   ///< of pictures; null for the decoder's first
        const EncoderFilter* encoder = nullptr;  ///< compresses the pictures
        Place from;
        LONG frames = LONG_MAX;  ///< number of frames to play
    };

    /// Called for each frame that arrives, in the streaming thread. An exception ends the pass, and
    /// Play() rethrows it.
    using OnFrame = std::function<void(const ArrivedFrame&)>;

    /// Builds the graph over the file `path`, or over frames from memory, to play all of them.
    /// Failures of Footage, kPastEnd included; those of ExplainFailedConnection when no decoder is
    /// found; kRefused when the encoder refuses the pictures; kPlatform otherwise.
    ClipGraph(const std::string& path, const Options& options, OnFrame onFrame);
    ClipGraph(const FrameList& frames, const Options& options, OnFrame onFrame);
    ClipGraph(const ClipGraph&) = delete;
    ClipGraph& operator=(const ClipGraph&) = delete;

    /// The file; not over frames from memory.
    const Footage& Clip() const { return *footage_; }

    /// The name of the decoder that the system chose; empty without a decoder.
    const std::string& DecoderName() const { return decoderName_; }

    /// The type that the sink was connected with.
    const MediaType& ConnectedType() const { return connectedType_; }

    /// Passes the samples of a stream of the clip's audio to `onSample` while frames play. Call it
    /// before Play(); an exception from `onSample` ends the pass. Failure kPlatform.
    void AddAudioSink(const SourceStream& stream, std::function<void(IMediaSample&)> onSample);

    /// Plays the clip once, as fast as possible, with a progress line that begins with `label`;
    /// with none for an empty label. Failure kInterrupted, or kPlatform when the graph aborts.
    PassResult Play(const std::string& label = {});

  private:
    ComPtr<IPin> AddSink(FrameSink::Accept accept, std::function<void(IMediaSample&)> onSample);
    void Connect(IPin* from, const MediaType& type, const Options& options);
    [[nodiscard]] HRESULT ConnectEncoder(IPin* from, IPin* end, const EncoderFilter& encoder);
    void LimitToOneFilter();
    void Arrive(IMediaSample& sample);
    bool HasThrown();
    std::vector<LostFrame> LostFrames() const;

    ComPtr<IUnknown> rule_;  ///< of intelligent connect; outlives the graph
    const ComPtr<IGraphBuilder> graph_ = CreateGraph();
    std::unique_ptr<Footage> footage_;
    std::string decoderName_;
    OnFrame onFrame_;
    /// The number in the clip of the frame at a time after the start of the first one played.
    std::function<LONG(REFERENCE_TIME)> frameAt_;
    LONG first_ = 0;
    LONG count_ = 0;  ///< of frames to play, by the clip's own duration
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
