#include "rendered_file.h"

#include "footage.h"
#include "text.h"

namespace nyx::host {

Counter::Counter(IGraphBuilder* graph, const wchar_t* name, FrameSink::Accept accept)
    : sink_(Make<FrameSink>([this](IMediaSample&) { return ++count_ > 0; }, std::move(accept))) {
    Check(graph->AddFilter(sink_.Get(), name), "cannot add a sink to the graph");
}

MediaType Counter::Type() const {
    MediaType type;
    std::ignore = Input()->ConnectionMediaType(&type);  // a failure leaves it empty
    return type;
}

void Counter::RemoveIfIdle(IGraphBuilder* graph) const {
    if (Type().majortype == GUID_NULL) {
        Check(graph->RemoveFilter(sink_.Get()), "cannot remove a sink from the graph");
    }
}

RenderedFile::RenderedFile(const std::string& path) {
    CheckReadable(path);
    result = graph->RenderFile(Wide(path).c_str(), nullptr);
    pictures.RemoveIfIdle(graph.Get());
    audio.RemoveIfIdle(graph.Get());
}

}  // namespace nyx::host
