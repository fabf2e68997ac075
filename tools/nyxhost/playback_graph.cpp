#include "playback_graph.h"

#include <algorithm>

#include "decoder_candidates.h"
#include "graph_tools.h"

namespace nyx::host {

PlaybackGraph::PlaybackGraph(const std::string& path, const Options& options, OnFrame onFrame)
    : ClipGraph(std::move(onFrame)),
      options_(options),
      footage_(std::make_unique<Footage>(graph_.Get(), path)) {
    const SourceStream& video = Clip().Video();
    const ComPtr<IPin> end = ConnectEnd(video.pin.Get(), video.type);
    first_ = Clip().FrameAt(options_.from);
    Clip().Select(first_, options_.frames);
    Complete(end.Get(), first_, [this, from = Clip().TimeOf(first_)](REFERENCE_TIME start) {
        return Clip().FrameAt(from + start);
    });
}

PlaybackGraph::PlaybackGraph(const FrameList& frames, const Options& options, OnFrame onFrame)
    : ClipGraph(std::move(onFrame)), options_(options) {
    const auto source = Make<FrameSource>(frames);
    Check(graph_->AddFilter(source.Get(), L"Frames"), "cannot add the source to the graph");
    const ComPtr<IPin> end = ConnectEnd(source->Output(), frames.type);
    Complete(end.Get(), 0, [frames](REFERENCE_TIME start) { return frames.FrameAt(start); });
}

ComPtr<IPin> PlaybackGraph::ConnectEnd(IPin* from, const MediaType& compressed) {
    const PictureFormat* format = options_.format;
    const bool packets = options_.deliver == Deliver::kPackets;
    const ComPtr<IPin> end = AddFrameSink([packets, format](const MediaType& type) {
        return packets ? IsVideo(type)
                       : IsPicture(type) && (format == nullptr || type.subtype == *format->subtype);
    });
    if (packets) {
        Check(graph_->ConnectDirect(from, end.Get(), nullptr), "cannot read packets");
        return end;
    }
    rule_.ApplyTo(graph_.Get());
    const HRESULT connected = graph_->Connect(from, end.Get());
    if (FAILED(connected)) {
        ExplainFailedConnection(compressed, format != nullptr ? format->name : "a picture",
                                connected);
    }
    ComPtr<IPin> feeding;
    Check(end->ConnectedTo(feeding.GetAddressOf()), "the sink is not connected");
    decoderName_ = FilterName(FilterOf(feeding.Get()).Get());
    return end;
}

LONG PlaybackGraph::FramesToCome() const {
    return std::min(options_.frames, Clip().FrameCount() - first_);
}

void PlaybackGraph::AddAudioSink(const SourceStream& stream,
                                 std::function<void(IMediaSample&)> onSample) {
    const ComPtr<IPin> end = AddSink(IsAudio, std::move(onSample));
    Check(graph_->ConnectDirect(stream.pin.Get(), end.Get(), nullptr), "cannot read audio");
}

}  // namespace nyx::host
