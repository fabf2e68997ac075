#include "clip_graph.h"

#include "graph_tools.h"

namespace nyx::host {

ClipGraph::ClipGraph(OnFrame onFrame)
    : graph_(CreateObject<IGraphBuilder>(CLSID_FilterGraph, kNoFilterGraph)),
      onFrame_(std::move(onFrame)) {}

ComPtr<IPin> ClipGraph::AddSink(FrameSink::Accept accept,
                                std::function<void(IMediaSample&)> onSample) {
    const auto sink = Make<FrameSink>(
        [this, onSample](IMediaSample& sample) {
            try {
                onSample(sample);
                return !HasThrown();
            } catch (...) {
                const std::lock_guard lock(thrownLock_);
                thrown_ = std::current_exception();
                return false;
            }
        },
        std::move(accept));
    Check(graph_->AddFilter(sink.Get(), L"Frame Sink"), "cannot add the sink to the graph");
    return sink->Input();
}

ComPtr<IPin> ClipGraph::AddFrameSink(FrameSink::Accept accept) {
    return AddSink(std::move(accept), [this](IMediaSample& sample) { Arrive(sample); });
}

void ClipGraph::Complete(IPin* input, LONG first, FrameAt frameAt) {
    connectedType_.Clear();
    Check(input->ConnectionMediaType(&connectedType_), "cannot query the sink's type");
    first_ = first;
    frameAt_ = std::move(frameAt);
    RemoveClock(graph_);
}

void ClipGraph::Close() {
    ComPtr<IMediaControl> control;
    if (graph_ != nullptr && SUCCEEDED(graph_.As(&control))) {
        control->Stop();
    }
    control.Reset();
    graph_.Reset();
}

bool ClipGraph::HasThrown() {
    const std::lock_guard lock(thrownLock_);
    return thrown_ != nullptr;
}

void ClipGraph::Arrive(IMediaSample& sample) {
    AM_MEDIA_TYPE* changed = nullptr;
    const bool typeChanged = sample.GetMediaType(&changed) == S_OK && changed != nullptr;
    if (typeChanged) {
        currentType_ = MediaType::Adopt(changed);
    }
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    Check(sample.GetTime(&start, &stop), "a frame has no time");
    const LONG index = frameAt_(start);
    lastArrival_ = Clock::now();
    firstArrival_ = indices_.empty() ? lastArrival_ : firstArrival_;
    indices_.push_back(index);
    ++arrived_;
    onFrame_({.index = index, .sample = sample, .type = currentType_, .typeChanged = typeChanged});
}

PassResult ClipGraph::Play(const std::function<void(LONG)>& progress) {
    arrived_ = 0;
    indices_.clear();
    failures_.clear();
    thrown_ = nullptr;
    currentType_ = connectedType_;

    const auto start = Clock::now();
    RunToEnd(
        graph_,
        [&] {
            progress(arrived_);
            return !HasThrown();
        },
        [this](HRESULT result) { failures_.push_back(result); });
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    if (thrown_ != nullptr) {
        std::rethrow_exception(thrown_);
    }
    const std::chrono::duration<double> flow = lastArrival_ - firstArrival_;
    return {.arrived = arrived_,
            .lost = LostFrames(),
            .seconds = elapsed.count(),
            .secondsPerFrame = arrived_ > 1 ? flow.count() / (arrived_ - 1) : 0};
}

/// Gaps between the frames that arrived, with the results that the source reported for them. More
/// results than gaps belong to the last frames.
std::vector<LostFrame> ClipGraph::LostFrames() const {
    std::vector<LostFrame> lost;
    const auto addLost = [&](LONG index) {
        lost.push_back({index, lost.size() < failures_.size() ? failures_[lost.size()] : S_OK});
    };
    // The clip's time line may begin with audio alone.
    LONG next = failures_.empty() && !indices_.empty() ? indices_.front() : first_;
    for (const LONG index : indices_) {
        for (; next < index; ++next) {
            addLost(next);
        }
        next = index + 1;
    }
    while (lost.size() < failures_.size()) {
        addLost(next++);
    }
    return lost;
}

}  // namespace nyx::host
