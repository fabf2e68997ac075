#include <CLI/CLI.hpp>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "decoder_candidates.h"
#include "graph_description.h"
#include "graph_tools.h"
#include "platform/system.h"
#include "progress.h"
#include "text.h"

namespace nyx::host {
namespace {

long Seconds(REFERENCE_TIME time) {
    return static_cast<long>(time / 10000000);
}

/// Connects a stream to whatever the platform plays it with; false when there is nothing.
bool Render(IGraphBuilder* graph, const SourceStream& stream, const char* what) {
    const HRESULT result = graph->Render(stream.pin.Get());
    if (FAILED(result)) {
        PrintWarning(std::string(what) + " is not played: " + ResultText(result));
    }
    return SUCCEEDED(result);
}

ExitCode RunPlay(const ClipOptions& options) {
    const auto graph = CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph");
    const Footage clip(graph.Get(), options.path);
    const LONG first = clip.FrameAt(options.graph.from);
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
        Print("sound: " + DescribeAudio(stream.type) + "\n");
        Render(graph.Get(), stream, "the sound");
    }
    PrintGraph(graph.Get());

    clip.Select(first, options.graph.frames);
    const auto seeking = Query<IMediaSeeking>(graph, "the graph has no position");
    Progress progress("playing", Seconds(clip.Duration()), "s");
    RunToEnd(graph, [&] {
        LONGLONG position = 0;
        if (SUCCEEDED(seeking->GetCurrentPosition(&position))) {
            progress.Show(Seconds(position));
        }
        return true;
    });
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
