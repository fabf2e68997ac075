#include <CLI/CLI.hpp>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "graph_tools.h"
#include "interrupt.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr double kUnitsPerSecond = 1e7;

/// Connects a stream to whatever the platform plays it with; false when there is nothing.
bool Render(IGraphBuilder* graph, const SourceStream& stream, const char* what) {
    const HRESULT result = graph->Render(stream.pin.Get());
    if (FAILED(result)) {
        PrintWarning(std::string(what) + " is not played: " + ResultText(result));
    }
    return SUCCEEDED(result);
}

void PrintFilters(IGraphBuilder* graph) {
    ComPtr<IEnumFilters> filters;
    Check(graph->EnumFilters(filters.GetAddressOf()), "the graph tells no filters");
    ComPtr<IBaseFilter> filter;
    std::string names;
    while (filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        names = FilterName(filter.Get()) + (names.empty() ? "" : ", ") + names;
    }
    Print("graph: " + names + "\n");
}

/// Waits until the graph has played to its end. Failure kInterrupted, kPlatform.
void WaitForEnd(const ComPtr<IGraphBuilder>& graph, double seconds) {
    constexpr long kPollMs = 200;
    const auto events = Query<IMediaEvent>(graph, "the graph has no events", IID_IMediaEvent);
    const auto seeking = Query<IMediaSeeking>(graph, "the graph has no position");
    Progress progress("playing", static_cast<long>(seconds * 10));
    for (long code = 0; code != EC_COMPLETE;) {
        LONGLONG position = 0;
        if (SUCCEEDED(seeking->GetCurrentPosition(&position))) {
            progress.Show(static_cast<long>(static_cast<double>(position) / kUnitsPerSecond * 10));
        }
        if (Interrupted()) {
            throw Failure(ExitCode::kInterrupted, "interrupted");
        }
        LONG_PTR first = 0;
        LONG_PTR second = 0;
        if (FAILED(events->GetEvent(&code, &first, &second, kPollMs))) {
            code = 0;
            continue;
        }
        events->FreeEventParams(code, first, second);
        if (code == EC_USERABORT) {
            return;  // the video window was closed
        }
        if (code == EC_ERRORABORT || code == EC_STREAM_ERROR_STOPPED) {
            Check(static_cast<HRESULT>(first), "the graph aborted");
            throw Failure(ExitCode::kPlatform, "the graph aborted");
        }
    }
}

ExitCode RunPlay(const ClipOptions& options) {
    const auto graph = CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph");
    const Footage clip(graph.Get(), options.path);
    if (IsWine()) {  // whose other renderers crash where there is no 3D
        Check(graph->AddFilter(CreateObject<IBaseFilter>(CLSID_VideoRenderer, "no renderer").Get(),
                               L"Video Renderer"),
              "the renderer does not join the graph");
    }
    Print(options.path + ": " + DescribeVideo(clip) + "\n");
    if (!Render(graph.Get(), clip.Video(), "the picture")) {
        ExplainFailedConnection(clip.Video().type, "a picture on the screen", VFW_E_CANNOT_RENDER);
    }
    for (const SourceStream& stream : clip.Sound()) {
        Print("sound: " + DescribeSound(stream.type) + "\n");
        Render(graph.Get(), stream, "the sound");
    }
    PrintFilters(graph.Get());

    const LONG first = clip.FrameAt(options.graph.from);
    const LONG frames = options.graph.frames;
    clip.Select(first, frames > LONG_MAX - first ? LONG_MAX : first + frames);
    const auto control = Query<IMediaControl>(graph, "the graph cannot be controlled");
    Check(control->Run(), "the graph does not run");
    try {
        WaitForEnd(graph, static_cast<double>(clip.Duration()) / kUnitsPerSecond);
    } catch (...) {
        control->Stop();
        throw;
    }
    control->Stop();
    return ExitCode::kOk;
}

}  // namespace

void AddPlayCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<ClipOptions>();
    CLI::App* command = app.add_subcommand(
        "play",
        "Play a clip with its sound, in a window and in real time, until its end or Ctrl+C");
    AddClipOptions(*command, *options);
    command->callback([options, &action] { action = [options] { return RunPlay(*options); }; });
}

}  // namespace nyx::host
