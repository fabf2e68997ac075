#include "encode_graph.h"

#include "graph_tools.h"
#include "picture_format.h"
#include "text.h"

namespace nyx::host {
namespace {

std::string NameOf(const MediaType& type) {
    const PictureFormat* format = FindPictureFormat(type.subtype);
    return format != nullptr ? format->name : FourCCText(type.subtype.Data1);
}

[[noreturn]] void ExplainRefusal(const EncoderFilter& encoder, const MediaType& type,
                                 HRESULT result) {
    std::string message =
        encoder.name + " refuses " + NameOf(type) +
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

ComPtr<IPin> EncodeGraph::Connect(IPin* from, const MediaType& type, const EncoderFilter& encoder) {
    Check(graph_->AddFilter(encoder.filter.Get(), L"Encoder"),
          "cannot add the encoder to the graph");
    const ComPtr<IPin> end = AddFrameSink(IsVideo);
    const ComPtr<IPin> input = FindPin(encoder.filter.Get(), PINDIR_INPUT);
    AllowOneFilter();
    const HRESULT connected = footage_ ? graph_->Connect(from, input.Get())
                                       : graph_->ConnectDirect(from, input.Get(), nullptr);
    if (FAILED(connected)) {
        ExplainRefusal(encoder, type, connected);
    }
    Check(graph_->ConnectDirect(FindPin(encoder.filter.Get(), PINDIR_OUTPUT).Get(), end.Get(),
                                nullptr),
          "cannot connect the encoder's output");
    return end;
}

EncodeGraph::EncodeGraph(const FrameList& pictures, const EncoderFilter& encoder, OnFrame onFrame)
    : ClipGraph(std::move(onFrame)), rate_(pictures.rate) {
    const auto source = Make<FrameSource>(pictures);
    Check(graph_->AddFilter(source.Get(), L"Pictures"), "cannot add the source to the graph");
    const BITMAPINFOHEADER& header = pictures.type.Header();
    description_ = NameOf(pictures.type) +
                   Format(", %ldx%ld, %ld frames", header.biWidth, header.biHeight, pictures.count);
    const ComPtr<IPin> end = Connect(source->Output(), pictures.type, encoder);
    Complete(end.Get(), 0, pictures.count,
             [pictures](REFERENCE_TIME start) { return pictures.FrameAt(start); });
}

EncodeGraph::EncodeGraph(const std::string& path, const PlaybackGraph::Options& range,
                         const EncoderFilter& encoder, OnFrame onFrame)
    : ClipGraph(std::move(onFrame)), footage_(std::make_unique<Footage>(graph_.Get(), path)) {
    const SourceStream& video = footage_->Video();
    rate_ = RateOf(video.type);
    description_ = DescribeVideo(*footage_);
    const ComPtr<IPin> end = Connect(video.pin.Get(), video.type, encoder);
    const LONG first = footage_->FrameAt(range.from);
    footage_->Select(first, range.frames);
    Complete(end.Get(), first, std::min(range.frames, footage_->FrameCount() - first),
             [this, from = footage_->TimeOf(first)](REFERENCE_TIME start) {
                 return footage_->FrameAt(from + start);
             });
}

}  // namespace nyx::host
