#include "playback_graph.h"

#include <algorithm>

#include "decoder_candidates.h"
#include "graph_tools.h"

namespace nyx::host {

PlaybackGraph::PlaybackGraph(const std::string& path, const Options& options, OnFrame onFrame)
    : ClipGraph(std::move(onFrame)), footage_(std::make_unique<Footage>(graph_.Get(), path)) {
    const SourceStream& video = Clip().Video();
    const ComPtr<IPin> end = ConnectEnd(video.pin.Get(), video.type, options);
    const LONG first = Clip().FrameAt(options.from);
    Clip().Select(first, options.frames);
    Complete(end.Get(), first, std::min(options.frames, Clip().FrameCount() - first),
             [this, from = Clip().TimeOf(first)](REFERENCE_TIME start) {
                 return Clip().FrameAt(from + start);
             });
}

PlaybackGraph::PlaybackGraph(const FrameList& frames, const Options& options, OnFrame onFrame)
    : ClipGraph(std::move(onFrame)) {
    const auto source = Make<FrameSource>(frames);
    Check(graph_->AddFilter(source.Get(), L"Frames"), "cannot add the source to the graph");
    const ComPtr<IPin> end = ConnectEnd(source->Output(), frames.type, options);
    Complete(end.Get(), 0, frames.count,
             [frames](REFERENCE_TIME start) { return frames.FrameAt(start); });
}

ComPtr<IPin> PlaybackGraph::ConnectEnd(IPin* from, const MediaType& compressed,
                                       const Options& options) {
    const PictureFormat* format = options.format;
    const bool packets = options.packets;
    const ComPtr<IPin> end = AddFrameSink([packets, format](const MediaType& type) {
        return packets ? IsVideo(type)
                       : IsPicture(type) && (format == nullptr || type.subtype == *format->subtype);
    });
    if (packets) {
        Check(graph_->ConnectDirect(from, end.Get(), nullptr), "cannot read packets");
        return end;
    }
    AllowOneFilter();
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

}  // namespace nyx::host
