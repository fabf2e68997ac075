#include <CLI/CLI.hpp>

#include <atomic>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "frame_sink.h"
#include "graph_tools.h"
#include "interrupt.h"
#include "text.h"

namespace nyx::host {
namespace {

bool IsSound(const MediaType& type) {
    return type.majortype == MEDIATYPE_Audio;
}

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

/// The name that a filter's class is registered with, else what the graph calls it.
std::string ClassName(IBaseFilter* filter) {
    CLSID clsid{};
    wchar_t name[256] = L"";
    DWORD bytes = sizeof(name);
    if (FAILED(filter->GetClassID(&clsid)) ||
        RegGetValueW(HKEY_CLASSES_ROOT, Wide("CLSID\\" + GuidText(clsid)).c_str(), nullptr,
                     RRF_RT_REG_SZ, nullptr, name, &bytes) != ERROR_SUCCESS) {
        return FilterName(filter);
    }
    return Utf8(name);
}

void PrintFilters(IGraphBuilder* graph) {
    ComPtr<IEnumFilters> filters;
    Check(graph->EnumFilters(filters.GetAddressOf()), "the graph tells no filters");
    for (ComPtr<IBaseFilter> filter;
         filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK;) {
        Print("filter: " + ClassName(filter.Get()) + "\n");
    }
}

/// Runs to the end without a clock, as fast as it goes.
void Run(const ComPtr<IGraphBuilder>& graph) {
    constexpr long kPollMs = 100;
    Check(Query<IMediaFilter>(graph, "the graph has no media filter")->SetSyncSource(nullptr),
          "the graph keeps its clock");
    const auto control = Query<IMediaControl>(graph, "the graph cannot be controlled");
    const auto events = Query<IMediaEvent>(graph, "the graph has no events", IID_IMediaEvent);
    Check(control->Run(), "the graph does not run");
    long code = 0;
    while (!Interrupted() && FAILED(events->WaitForCompletion(kPollMs, &code))) {
    }
    control->Stop();
    if (code != EC_COMPLETE) {
        throw Failure(code == 0 ? ExitCode::kInterrupted : ExitCode::kPlatform,
                      code == 0 ? "interrupted" : "the graph aborted");
    }
}

ExitCode RunRender(const std::string& path) {
    const auto graph = CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph");
    const Counter pictures(graph.Get(), L"Pictures", IsPicture);
    const Counter sound(graph.Get(), L"Sound", IsSound);
    const HRESULT rendered = graph->RenderFile(Wide(path).c_str(), nullptr);
    pictures.LeaveIfIdle(graph.Get());
    sound.LeaveIfIdle(graph.Get());
    PrintFilters(graph.Get());
    Check(rendered, "the system does not play the file", ExitCode::kRefused);
    Run(graph);
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
