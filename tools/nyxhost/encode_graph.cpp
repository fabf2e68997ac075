#include "encode_graph.h"

#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

bool AcceptsAnyVideo(const MediaType& type) {
    return type.majortype == MEDIATYPE_Video && type.HasPicture();
}

[[noreturn]] void ExplainRefusal(const EncoderFilter& encoder, const ClipReader& clip,
                                 const PictureFormat& format, HRESULT result) {
    std::string message =
        encoder.name + " refuses " + format.name +
        Format(" pictures of %ldx%ld: ", clip.Header().biWidth, clip.Header().biHeight) +
        ResultText(result);
    if (*format.subtype == MEDIASUBTYPE_RGB32) {
        message +=
            "\n  it takes 32-bit pictures only with alpha: --argb encodes the fourth byte as alpha;"
            "\n  pictures of 24 bits (--rgb24) and 4:2:2 pictures (--yuy2) are taken as they are";
    }
    throw Failure(ExitCode::kRefused, message);
}

}  // namespace

EncodeGraph::EncodeGraph(const ClipReader& clip, const PictureFormat& format,
                         const EncoderFilter& encoder, OnFrame onFrame)
    : ClipGraph(new ClipSource(clip, clip.FrameCount(),
                               PictureVideoType(clip.FormatBlock(), clip.FrameTime(1), format)),
                std::move(onFrame)) {
    Check(graph_->AddFilter(encoder.filter.Get(), L"Encoder"), "the encoder does not join");
    const HRESULT taken = graph_->ConnectDirect(
        source_->Output(), FindPin(encoder.filter.Get(), PINDIR_INPUT).Get(), nullptr);
    if (FAILED(taken)) {
        ExplainRefusal(encoder, clip, format, taken);
    }
    const ComPtr<IPin> end = AddOwnSink(AcceptsAnyVideo);
    Check(graph_->ConnectDirect(FindPin(encoder.filter.Get(), PINDIR_OUTPUT).Get(), end.Get(),
                                nullptr),
          "the encoder's output does not connect");
    Complete(end.Get());
}

}  // namespace nyx::host
