#pragma once

#include <atomic>

#include "frame_sink.h"
#include "graph_tools.h"

namespace nyx::host {

/// The graph that a player builds over a file, with sinks that count samples in place of renderers.
/// An idle sink leaves the graph, which would wait for its end of stream.
struct RenderedFile {
    /// Failure kInput for a file that cannot be read, else kPlatform.
    explicit RenderedFile(const std::string& path);

    std::atomic<LONG> pictures{0};  ///< samples that arrived
    std::atomic<LONG> audio{0};
    const ComPtr<IGraphBuilder> graph = CreateGraph();
    HRESULT result = E_FAIL;  ///< of the graph's RenderFile
    ComPtr<IPin> end;         ///< the sink's pin for pictures
    MediaType type;           ///< its type; empty where no picture arrives
};

}  // namespace nyx::host
