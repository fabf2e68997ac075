#include <CLI/CLI.hpp>

#include <atomic>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "frame_sink.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

/// An end of a graph that counts what arrives.
class Counter {
  public:
    Counter(IGraphBuilder* graph, const wchar_t* name, FrameSink::Accept accept)
        : sink_(Make<FrameSink>([this](IMediaSample&) { return ++count_, true; }, accept)) {
        Check(graph->AddFilter(sink_.Get(), name), "an end does not join the graph");
    }

    LONG Count() const { return count_; }

    /// Leaves a graph that would wait for it in vain.
    void LeaveIfIdle(IGraphBuilder* graph) const {
        ComPtr<IPin> peer;
        if (FAILED(sink_->Input()->ConnectedTo(peer.GetAddressOf()))) {
            graph->RemoveFilter(sink_.Get());
        }
    }

  private:
    std::atomic<LONG> count_{0};
    ComPtr<FrameSink> sink_;
};

ExitCode RunRender(const std::string& path) {
    const auto graph = CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph");
    const Counter pictures(graph.Get(), L"Pictures", IsPicture);
    const Counter sound(graph.Get(), L"Sound", IsSound);
    const HRESULT rendered = graph->RenderFile(Wide(path).c_str(), nullptr);
    pictures.LeaveIfIdle(graph.Get());
    sound.LeaveIfIdle(graph.Get());
    for (const std::string& name : FilterNames(graph.Get())) {
        Print("filter: " + name + "\n");
    }
    Check(rendered, "the system does not play the file", ExitCode::kRefused);
    Check(Query<IMediaFilter>(graph, "the graph has no media filter")->SetSyncSource(nullptr),
          "the graph keeps its clock");
    RunToEnd(graph, [] { return true; });
    Print(Format("%ld pictures, %ld pieces of sound\n", pictures.Count(), sound.Count()));
    return ExitCode::kOk;
}

}  // namespace

void AddRenderCommand(CLI::App& app, Action& action) {
    auto path = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "render", "Play any file as a player has the system do it, unseen, and tell by what");
    command->add_option("file", *path, "Any file")->required();
    command->callback([path, &action] { action = [path] { return RunRender(*path); }; });
}

}  // namespace nyx::host
