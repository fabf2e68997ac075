#pragma once

#include <atomic>

#include "frame_sink.h"
#include "graph_tools.h"

namespace nyx::host {

/// A sink that counts samples.
class Counter {
  public:
    Counter(IGraphBuilder* graph, const wchar_t* name, FrameSink::Accept accept);

    LONG Count() const { return count_; }
    IPin* Input() const { return sink_->Input(); }

    /// The type of its connection; empty without one.
    MediaType Type() const;

    /// Removes the sink unless it is connected: the graph would wait for its end of stream.
    void RemoveIfIdle(IGraphBuilder* graph) const;

  private:
    std::atomic<LONG> count_{0};
    const ComPtr<FrameSink> sink_;
};

/// The graph that a player builds over a file, with sinks in place of its renderers.
struct RenderedFile {
    /// Failure kInput for a file that cannot be read, else kPlatform.
    explicit RenderedFile(const std::string& path);

    const ComPtr<IGraphBuilder> graph = CreateGraph();
    const Counter pictures{graph.Get(), L"Pictures", IsPicture};
    const Counter audio{graph.Get(), L"Audio", IsAudio};
    HRESULT result = E_FAIL;  ///< of the graph's RenderFile
};

}  // namespace nyx::host
