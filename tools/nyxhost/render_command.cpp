#include <CLI/CLI.hpp>

#include <atomic>
#include <cmath>
#include <tuple>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "decoder_candidates.h"
#include "footage.h"
#include "frame_sink.h"
#include "graph_description.h"
#include "graph_tools.h"
#include "progress.h"
#include "text.h"

namespace nyx::host {
namespace {

/// A sink that counts samples.
class Counter {
  public:
    Counter(IGraphBuilder* graph, const wchar_t* name, FrameSink::Accept accept)
        : sink_(Make<FrameSink>([this](IMediaSample&) { return ++count_ > 0; }, accept)) {
        Check(graph->AddFilter(sink_.Get(), name), "cannot add a sink to the graph");
    }

    LONG Count() const { return count_; }

    /// Whether its pin is connected.
    bool IsConnected() const {
        ComPtr<IPin> peer;
        return SUCCEEDED(sink_->Input()->ConnectedTo(peer.GetAddressOf()));
    }

    [[nodiscard]] HRESULT Connect(IGraphBuilder* graph, IPin* from) const {
        return graph->Connect(from, sink_->Input());
    }

    /// The type of its connection; empty without one.
    MediaType Type() const {
        MediaType type;
        std::ignore = sink_->Input()->ConnectionMediaType(&type);  // a failure leaves it empty
        return type;
    }

    /// Removes the sink unless it is connected: the graph would wait for its end of stream.
    void RemoveIfIdle(IGraphBuilder* graph) const {
        if (!IsConnected()) {
            Check(graph->RemoveFilter(sink_.Get()), "cannot remove a sink from the graph");
        }
    }

  private:
    std::atomic<LONG> count_{0};
    ComPtr<FrameSink> sink_;
};

/// Reports why the system plays no picture of a file: our source or the decoders refuse it, or the
/// system chooses another source.
[[noreturn]] void ExplainRefusal(const std::string& path, HRESULT rendered) {
    const auto graph = CreateGraph();
    const Footage clip(graph.Get(), path);
    const Counter pictures(graph.Get(), L"Pictures", IsPicture);
    if (SUCCEEDED(pictures.Connect(graph.Get(), clip.Video().pin.Get()))) {
        throw Failure(
            ExitCode::kRefused,
            "the system does not open " + path +
                " with our source, which plays it (see nyxhost play): " + ResultText(rendered));
    }
    ExplainFailedConnection(clip.Video().type, "a picture", rendered);
}

/// The number of pictures of a type in the graph's duration; 0 when unknown.
long PicturesToCome(const ComPtr<IGraphBuilder>& graph, const MediaType& type) {
    LONGLONG duration = 0;
    const auto seeking = As<IMediaSeeking>(graph);
    if (!type.HasPicture() || !seeking || FAILED(seeking->GetDuration(&duration))) {
        return 0;
    }
    const auto [frames, seconds] = RateOf(type);
    return std::lround(static_cast<double>(duration) / 1e7 * frames / seconds);
}

ExitCode RunRender(const std::string& path) {
    CheckReadable(path);
    const auto graph = CreateGraph();
    const Counter pictures(graph.Get(), L"Pictures", IsPicture);
    const Counter audio(graph.Get(), L"Audio", IsAudio);
    const HRESULT rendered = graph->RenderFile(Wide(path).c_str(), nullptr);
    pictures.RemoveIfIdle(graph.Get());
    audio.RemoveIfIdle(graph.Get());
    PrintGraph(graph.Get());
    if (FAILED(rendered) || (rendered != S_OK && !pictures.IsConnected())) {
        ExplainRefusal(path, rendered);
    }
    if (rendered != S_OK) {
        PrintWarning("not every stream is played: " + ResultText(rendered));
    }
    RemoveClock(graph);
    {
        Progress progress("playing", PicturesToCome(graph, pictures.Type()));
        RunToEnd(graph, [&] {
            progress.Show(pictures.Count());
            return true;
        });
    }
    Print(Format("%ld pictures, %ld audio samples\n", pictures.Count(), audio.Count()));
    return ExitCode::kOk;
}

}  // namespace

void AddRenderCommand(CLI::App& app, Action& action) {
    auto path = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "render", "Build a file's graph as a player does, without a window, and list its filters");
    command->add_option("file", *path, "Any file")->required();
    command->callback([path, &action] { action = [path] { return RunRender(*path); }; });
}

}  // namespace nyx::host
