#include "playback_graph.h"

#include <qedit.h>

#include "graph_tools.h"

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
    : ClipGraph(new ClipSource(clip, options.frames, options.videoInfo2), std::move(onFrame)) {
    try {
        Build(options);
    } catch (...) {
        Close();  // before the members that the graph holds uncounted
        throw;
    }
}

PlaybackGraph::~PlaybackGraph() {
    Close();
}

void PlaybackGraph::Build(const Options& options) {
    const ComPtr<IPin> input =
        options.format != nullptr ? AddGrabber(*options.format) : AddOwnSink(AcceptsPictures);
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
    Complete(input.Get());
}

ComPtr<IPin> PlaybackGraph::AddGrabber(const PictureFormat& format) {
    grabber_ = CreateObject<IBaseFilter>(kSampleGrabber, "no sample grabber on this system");
    const auto grabber = Query<ISampleGrabber>(grabber_, "the sample grabber lacks its interface");
    AM_MEDIA_TYPE wanted{};
    wanted.majortype = MEDIATYPE_Video;
    wanted.subtype = *format.subtype;
    wanted.formattype = FORMAT_VideoInfo;  // the grabber takes no other form of video
    Check(grabber->SetMediaType(&wanted), "the sample grabber refuses the wanted type");
    Check(grabber->SetBufferSamples(FALSE), "the sample grabber does not obey");
    Check(grabber->SetOneShot(FALSE), "the sample grabber does not obey");
    callback_ = std::make_unique<GrabberCallback>(*this);
    Check(grabber->SetCallback(callback_.get(), 0), "the sample grabber takes no callback");
    Check(graph_->AddFilter(grabber_.Get(), L"Sample Grabber"),
          "the grabber does not join the graph");
    return FindPin(grabber_.Get(), PINDIR_INPUT);
}

void PlaybackGraph::AddNullRenderer() {
    const auto renderer =
        CreateObject<IBaseFilter>(kNullRenderer, "no null renderer on this system");
    Check(graph_->AddFilter(renderer.Get(), L"Null Renderer"),
          "the null renderer does not join the graph");
    Check(graph_->ConnectDirect(FindPin(grabber_.Get(), PINDIR_OUTPUT).Get(),
                                FindPin(renderer.Get(), PINDIR_INPUT).Get(), nullptr),
          "the sample grabber does not connect to the null renderer");
}

}  // namespace nyx::host
