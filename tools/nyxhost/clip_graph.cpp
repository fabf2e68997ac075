#include "clip_graph.h"

#include <algorithm>
#include <tuple>

#include <ocidl.h>

#include "console.h"
#include "graph_description.h"
#include "graph_tools.h"
#include "progress.h"
#include "text.h"

namespace nyx::host {
namespace {

/// Lets a graph's intelligent connect add one filter to those that it has.
class OneFilterRule final : public Object<IAMGraphBuilderCallback> {
  public:
    explicit OneFilterRule(IGraphBuilder* graph)
        : graph_(graph), ownFilters_(FiltersOf(graph).size()) {}

    STDMETHODIMP SelectedFilter(IMoniker*) override {
        try {
            return FiltersOf(graph_).size() > ownFilters_ ? E_FAIL : S_OK;
        } catch (const std::exception&) {
            return E_FAIL;
        }
    }
    STDMETHODIMP CreatedFilter(IBaseFilter*) override { return S_OK; }

  private:
    IGraphBuilder* const graph_;  // without a reference: the graph owns its rule
    const std::size_t ownFilters_;
};

[[noreturn]] void ExplainRefusal(const EncoderFilter& encoder, const MediaType& type,
                                 HRESULT result) {
    std::string message =
        encoder.name + " refuses " + SubtypeText(type.subtype) +
        Format(" pictures of %ldx%ld: ", type.Header().biWidth, type.Header().biHeight) +
        ResultText(result);
    if (type.subtype == MEDIASUBTYPE_RGB32) {
        message +=
            "\n  it accepts 32-bit pictures only with alpha: --argb encodes the fourth byte as "
            "alpha;"
            "\n  --rgb24 and --yuy2 pictures need no alpha";
    }
    throw Failure(ExitCode::kRefused, message);
}

}  // namespace

void PrintSpeed(const PassResult& result) {
    const double frames = result.arrived;
    Print(
        Format("%ld frames in %.2f s: %.1f frames per second with reading and writing, "
               "%.2f ms per frame\n",
               result.arrived, result.seconds, result.seconds > 0 ? frames / result.seconds : 0.0,
               frames > 0 ? 1000 * result.seconds / frames : 0.0));
}

ExitCode ReportLostFrames(const PassResult& result, const char* verb) {
    constexpr std::size_t kShown = 10;
    const std::size_t shown = std::min(result.lost.size(), kShown);
    for (std::size_t i = 0; i < shown; ++i) {
        const LostFrame& frame = result.lost[i];
        PrintWarning(Format("frame %ld could not be %s", frame.index, verb) +
                     (FAILED(frame.result) ? ": " + ResultText(frame.result) : ""));
    }
    if (result.lost.size() > shown) {
        PrintWarning(Format("... and %zu more", result.lost.size() - shown));
    }
    if (result.arrived == 0 && result.lost.empty()) {
        PrintWarning("the clip has no complete frame");
        return ExitCode::kDecode;
    }
    return result.lost.empty() ? ExitCode::kOk : ExitCode::kDecode;
}

ClipGraph::ClipGraph(const std::string& path, const Options& options, OnFrame onFrame)
    : footage_(std::make_unique<Footage>(graph_.Get(), path)), onFrame_(std::move(onFrame)) {
    Connect(Clip().Video().pin.Get(), Clip().Video().type, options);
    first_ = Clip().FrameAt(options.from);
    Clip().Select(first_, options.frames);
    count_ = std::min(options.frames, Clip().FrameCount() - first_);
    frameAt_ = [this, from = Clip().TimeOf(first_)](REFERENCE_TIME start) {
        return Clip().FrameAt(from + start);
    };
}

ClipGraph::ClipGraph(const FrameList& frames, const Options& options, OnFrame onFrame)
    : onFrame_(std::move(onFrame)), count_(frames.count) {
    const auto source = Make<FrameSource>(frames);
    Check(graph_->AddFilter(source.Get(), L"Frames"), "cannot add the source to the graph");
    Connect(source->Output(), frames.type, options);
    frameAt_ = [frames](REFERENCE_TIME start) { return frames.FrameAt(start); };
}

/// Connects `from`, which offers `type`, to the sink.
void ClipGraph::Connect(IPin* from, const MediaType& type, const Options& options) {
    const PictureFormat* format = options.format;
    const bool compressed = options.packets || options.encoder != nullptr;
    const ComPtr<IPin> end = AddSink(
        [compressed, format](const MediaType& offered) {
            return compressed ? IsVideo(offered)
                              : IsPicture(offered) &&
                                    (format == nullptr || offered.subtype == *format->subtype);
        },
        [this](IMediaSample& sample) { Arrive(sample); });
    if (options.packets) {
        Check(graph_->ConnectDirect(from, end.Get(), nullptr), "cannot read packets");
    } else if (options.encoder != nullptr) {
        const HRESULT connected = ConnectEncoder(from, end.Get(), *options.encoder);
        if (FAILED(connected)) {
            ExplainRefusal(*options.encoder, type, connected);
        }
    } else {
        LimitToOneFilter();
        const HRESULT connected = graph_->Connect(from, end.Get());
        if (FAILED(connected)) {
            ExplainFailedConnection(type, format != nullptr ? format->name : "a picture",
                                    connected);
        }
        ComPtr<IPin> feeding;
        Check(end->ConnectedTo(feeding.GetAddressOf()), "the sink is not connected");
        decoderName_ = FilterName(FilterOf(feeding.Get()).Get());
    }
    Check(end->ConnectionMediaType(&connectedType_), "cannot query the sink's type");
    RemoveClock(graph_);
}

HRESULT ClipGraph::ConnectEncoder(IPin* from, IPin* end, const EncoderFilter& encoder) {
    Check(graph_->AddFilter(encoder.filter.Get(), L"Encoder"),
          "cannot add the encoder to the graph");
    const ComPtr<IPin> input = FindPin(encoder.filter.Get(), PINDIR_INPUT);
    LimitToOneFilter();
    const HRESULT connected = footage_ ? graph_->Connect(from, input.Get())
                                       : graph_->ConnectDirect(from, input.Get(), nullptr);
    if (SUCCEEDED(connected)) {
        Check(
            graph_->ConnectDirect(FindPin(encoder.filter.Get(), PINDIR_OUTPUT).Get(), end, nullptr),
            "cannot connect the encoder's output");
    }
    return connected;
}

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

void ClipGraph::AddAudioSink(const SourceStream& stream,
                             std::function<void(IMediaSample&)> onSample) {
    const ComPtr<IPin> end = AddSink(IsAudio, std::move(onSample));
    Check(graph_->ConnectDirect(stream.pin.Get(), end.Get(), nullptr), "cannot read audio");
}

/// Limits intelligent connect from now on to one filter more than the graph has, so that pictures
/// come from the codec itself and not from a colour converter behind it, and the search stays
/// short. A graph without IObjectWithSite stays unrestricted.
void ClipGraph::LimitToOneFilter() {
    rule_ = Make<OneFilterRule>(graph_.Get());
    if (const auto holder = As<IObjectWithSite>(graph_)) {
        std::ignore = holder->SetSite(rule_.Get());  // on failure the graph stays unrestricted
    }
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

PassResult ClipGraph::Play(const std::string& label) {
    Progress progress(label, count_);
    arrived_ = 0;
    indices_.clear();
    failures_.clear();
    thrown_ = nullptr;
    currentType_ = connectedType_;

    const auto start = Clock::now();
    RunToEnd(
        graph_,
        [&] {
            if (!label.empty()) {
                progress.Show(arrived_);
            }
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
