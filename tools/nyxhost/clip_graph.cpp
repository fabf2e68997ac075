#include "clip_graph.h"

#include "graph_tools.h"
#include "interrupt.h"
#include "text.h"

namespace nyx::host {

ClipGraph::ClipGraph(ClipSource* source, OnFrame onFrame)
    : graph_(CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph")),
      source_(Adopt(source)),
      onFrame_(std::move(onFrame)) {
    Check(graph_->AddFilter(source_.Get(), L"Clip"), "the source does not join the graph");
}

ComPtr<IPin> ClipGraph::AddOwnSink(FrameSink::Accept accept) {
    const auto sink = Make<FrameSink>([this](IMediaSample& sample) { Arrive(sample); }, accept);
    Check(graph_->AddFilter(sink.Get(), L"Frame Sink"), "the sink does not join the graph");
    return sink->Input();
}

void ClipGraph::Complete(IPin* input) {
    connectedType_.Clear();
    Check(input->ConnectionMediaType(&connectedType_), "the graph's end does not tell its type");

    // Without a clock every filter runs as fast as it can and no frame is ever late.
    Check(Query<IMediaFilter>(graph_, "the graph has no media filter")->SetSyncSource(nullptr),
          "the graph keeps its clock");
}

void ClipGraph::Close() {
    ComPtr<IMediaControl> control;
    if (graph_ != nullptr && SUCCEEDED(graph_.As(&control))) {
        control->Stop();
    }
    control.Reset();
    graph_.Reset();
}

void ClipGraph::Arrive(IMediaSample& sample) {
    if (thrown_ != nullptr) {
        return;
    }
    const auto start = std::chrono::steady_clock::now();
    try {
        AM_MEDIA_TYPE* changed = nullptr;
        const bool typeChanged = sample.GetMediaType(&changed) == S_OK && changed != nullptr;
        if (typeChanged) {
            currentType_ = MediaType::Adopt(changed);
        }
        ++arrived_;
        onFrame_({source_->CurrentFrame(), sample, currentType_, typeChanged});
    } catch (...) {
        thrown_ = std::current_exception();
        source_->Abort();
    }
    callbackTime_ += std::chrono::steady_clock::now() - start;
}

PassResult ClipGraph::Play(const std::function<void(LONG)>& progress) {
    arrived_ = 0;
    callbackTime_ = {};
    thrown_ = nullptr;
    currentType_ = connectedType_;

    const auto control = Query<IMediaControl>(graph_, "the graph cannot be controlled");
    const auto start = std::chrono::steady_clock::now();
    const HRESULT run = control->Run();
    if (SUCCEEDED(run)) {
        try {
            WaitForEnd(progress);
        } catch (...) {
            control->Stop();
            throw;
        }
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    control->Stop();
    Check(run, "the graph does not run");
    if (thrown_ != nullptr) {
        std::rethrow_exception(thrown_);
    }

    PassResult result;
    result.source = source_->Report();
    result.arrived = arrived_;
    result.seconds = elapsed.count();
    if (result.source.ended != S_OK) {
        throw Failure(ExitCode::kInput,
                      Format("frame %ld could not be played: ", result.source.endedAt) +
                          ResultText(result.source.ended));
    }
    if (result.source.sent > 0) {
        const std::chrono::duration<double, std::milli> codec =
            result.source.receiveTime - callbackTime_;
        result.codecMsPerFrame = codec.count() / result.source.sent;
    }
    return result;
}

void ClipGraph::WaitForEnd(const std::function<void(LONG)>& progress) {
    constexpr long kPollMs = 100;
    const auto events = Query<IMediaEvent>(graph_, "the graph has no events", IID_IMediaEvent);
    for (;;) {
        progress(arrived_);
        if (Interrupted()) {
            throw Failure(ExitCode::kInterrupted, "interrupted");
        }
        long code = 0;
        LONG_PTR first = 0;
        LONG_PTR second = 0;
        if (FAILED(events->GetEvent(&code, &first, &second, kPollMs))) {
            continue;
        }
        events->FreeEventParams(code, first, second);
        if (code == EC_COMPLETE) {
            progress(arrived_);
            return;
        }
        if (code == EC_ERRORABORT || code == EC_STREAM_ERROR_STOPPED) {
            Check(static_cast<HRESULT>(first), "the graph aborted");
            throw Failure(ExitCode::kPlatform, "the graph aborted");
        }
    }
}

}  // namespace nyx::host
