#include "playback_graph.h"

#include <qedit.h>

#include "frame_sink.h"
#include "graph_tools.h"
#include "interrupt.h"
#include "text.h"

namespace nyx::host {
namespace {

// The classes behind qedit.h, which names the interfaces only.
constexpr CLSID kSampleGrabber = {
    0xc1f400a0, 0x3f08, 0x11d3, {0x9f, 0x0b, 0x00, 0x60, 0x08, 0x03, 0x9e, 0x37}};
constexpr CLSID kNullRenderer = {
    0xc1f400a4, 0x3f08, 0x11d3, {0x9f, 0x0b, 0x00, 0x60, 0x08, 0x03, 0x9e, 0x37}};

}  // namespace

/// Passes the grabber's samples on. Outlives the grabber, so its references need no count.
class PlaybackGraph::GrabberCallback final : public ISampleGrabberCB {
  public:
    explicit GrabberCallback(PlaybackGraph& graph) : graph_(graph) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = iid == IID_IUnknown || iid == IID_ISampleGrabberCB ? this : nullptr;
        return *object == nullptr ? E_NOINTERFACE : S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP SampleCB(double, IMediaSample* sample) override {
        graph_.Arrive(*sample);
        return S_OK;
    }
    STDMETHODIMP BufferCB(double, BYTE*, LONG) override { return E_NOTIMPL; }

  private:
    PlaybackGraph& graph_;
};

PlaybackGraph::PlaybackGraph(const ClipReader& clip, const Options& options, OnFrame onFrame)
    : clip_(clip),
      onFrame_(std::move(onFrame)),
      graph_(CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph")) {
    source_.Attach(new ClipSource(clip, options.frames, options.videoInfo2));
    Check(graph_->AddFilter(source_.Get(), L"Clip"), "the source does not join the graph");

    const ComPtr<IPin> input =
        options.format != nullptr ? AddGrabber(*options.format) : AddOwnSink();
    rule_.ApplyTo(graph_.Get());
    const HRESULT connected = graph_->Connect(source_->Output(), input.Get());
    if (FAILED(connected)) {
        ExplainFailedConnection(source_->Type(),
                                options.format != nullptr ? options.format->name : "a picture",
                                connected);
    }
    if (options.format != nullptr) {
        AddNullRenderer();
    }
    ComPtr<IPin> feeding;
    Check(input->ConnectedTo(feeding.GetAddressOf()), "the graph's end is not connected");
    decoderName_ = FilterName(FilterOf(feeding.Get()).Get());
    ReceivedType type;
    Check(input->ConnectionMediaType(type.Put()), "the graph's end does not tell its type");
    connectedType_ = MediaType(type.Get());

    // Without a clock every filter runs as fast as it can and no frame is ever late.
    Check(Query<IMediaFilter>(graph_, "the graph has no media filter")->SetSyncSource(nullptr),
          "the graph keeps its clock");
}

PlaybackGraph::~PlaybackGraph() {
    ComPtr<IMediaControl> control;
    if (SUCCEEDED(graph_.As(&control))) {
        control->Stop();
    }
}

ComPtr<IPin> PlaybackGraph::AddGrabber(const PictureFormat& format) {
    end_ = CreateObject<IBaseFilter>(kSampleGrabber, "no sample grabber on this system");
    const auto grabber = Query<ISampleGrabber>(end_, "the sample grabber lacks its interface");
    AM_MEDIA_TYPE wanted{};
    wanted.majortype = MEDIATYPE_Video;
    wanted.subtype = *format.subtype;
    wanted.formattype = FORMAT_VideoInfo;  // the grabber takes no other form of video
    Check(grabber->SetMediaType(&wanted), "the sample grabber refuses the wanted type");
    Check(grabber->SetBufferSamples(FALSE), "the sample grabber does not obey");
    Check(grabber->SetOneShot(FALSE), "the sample grabber does not obey");
    callback_ = std::make_unique<GrabberCallback>(*this);
    Check(grabber->SetCallback(callback_.get(), 0), "the sample grabber takes no callback");
    Check(graph_->AddFilter(end_.Get(), L"Sample Grabber"), "the grabber does not join the graph");
    return FindPin(end_.Get(), PINDIR_INPUT);
}

ComPtr<IPin> PlaybackGraph::AddOwnSink() {
    ComPtr<FrameSink> sink;
    sink.Attach(new FrameSink([this](IMediaSample& sample) { Arrive(sample); }));
    end_ = sink;
    Check(graph_->AddFilter(end_.Get(), L"Frame Sink"), "the sink does not join the graph");
    return sink->Input();
}

void PlaybackGraph::AddNullRenderer() {
    const auto renderer =
        CreateObject<IBaseFilter>(kNullRenderer, "no null renderer on this system");
    Check(graph_->AddFilter(renderer.Get(), L"Null Renderer"),
          "the null renderer does not join the graph");
    Check(graph_->ConnectDirect(FindPin(end_.Get(), PINDIR_OUTPUT).Get(),
                                FindPin(renderer.Get(), PINDIR_INPUT).Get(), nullptr),
          "the sample grabber does not connect to the null renderer");
}

void PlaybackGraph::Arrive(IMediaSample& sample) {
    if (thrown_ != nullptr) {
        return;
    }
    const auto start = std::chrono::steady_clock::now();
    try {
        AM_MEDIA_TYPE* changed = nullptr;
        const bool typeChanged = sample.GetMediaType(&changed) == S_OK && changed != nullptr;
        if (typeChanged) {
            currentType_ = MediaType(*changed);
            FreeMediaType(*changed);
            CoTaskMemFree(changed);
        }
        ++arrived_;
        onFrame_({source_->CurrentFrame(), sample, currentType_, typeChanged});
    } catch (...) {
        thrown_ = std::current_exception();
        source_->Abort();
    }
    callbackTime_ += std::chrono::steady_clock::now() - start;
}

PassResult PlaybackGraph::Play(const std::function<void(LONG)>& progress) {
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
        const std::chrono::duration<double, std::milli> decode =
            result.source.receiveTime - callbackTime_;
        result.decodeMsPerFrame = decode.count() / result.source.sent;
    }
    return result;
}

void PlaybackGraph::WaitForEnd(const std::function<void(LONG)>& progress) {
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
