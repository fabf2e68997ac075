#include "rendered_file.h"

#include "footage.h"
#include "text.h"

namespace nyx::host {

RenderedFile::RenderedFile(const std::string& path) {
    CheckReadable(path);
    const auto addSink = [this](const wchar_t* name, auto accept, std::atomic<LONG>& count) {
        auto sink = Make<FrameSink>([&count](IMediaSample&) { return ++count > 0; }, accept);
        Check(graph->AddFilter(sink.Get(), name), "cannot add a sink to the graph");
        return sink;
    };
    const ComPtr<FrameSink> sinks[] = {addSink(L"Pictures", IsPicture, pictures),
                                       addSink(L"Audio", IsAudio, audio)};
    result = graph->RenderFile(Wide(path).c_str(), nullptr);
    for (const ComPtr<FrameSink>& sink : sinks) {
        ComPtr<IPin> peer;
        if (FAILED(sink->Input()->ConnectedTo(peer.GetAddressOf()))) {
            Check(graph->RemoveFilter(sink.Get()), "cannot remove a sink from the graph");
        }
    }
    end = sinks[0]->Input();
    std::ignore = end->ConnectionMediaType(&type);  // a failure leaves it empty
}

}  // namespace nyx::host
