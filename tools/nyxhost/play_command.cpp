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

/// Connects a stream to the platform's decoder and renderer. Warns and returns false on failure.
bool Render(IGraphBuilder* graph, const SourceStream& stream, const char* what) {
    const HRESULT result = graph->Render(stream.pin.Get());
    if (FAILED(result)) {
        PrintWarning(std::string(what) + " is not played: " + ResultText(result));
    }
    return SUCCEEDED(result);
}

ExitCode RunPlay(const ClipOptions& options) {
    const auto graph = CreateGraph();
    const Footage clip(graph.Get(), options.path);
    const LONG first = clip.FrameAt(options.graph.from);
    if (IsWine()) {  // whose other renderers crash without 3D
        const auto renderer =
            CreateObject<IBaseFilter>(CLSID_VideoRenderer, "cannot create the video renderer");
        Check(graph->AddFilter(renderer.Get(), L"Video Renderer"),
              "cannot add the video renderer to the graph");
    }
    Print(options.path + ": " + DescribeVideo(clip) + "\n");
    if (!Render(graph.Get(), clip.Video(), "the picture")) {
        ExplainFailedConnection(clip.Video().type, "a picture on the screen", VFW_E_CANNOT_RENDER);
    }
    for (const SourceStream& stream : clip.Audio()) {
        Print("audio: " + DescribeAudio(stream.type) + "\n");
        Render(graph.Get(), stream, "the audio");
    }
    PrintGraph(graph.Get());

    clip.Select(first, options.graph.frames);
    const auto seeking = Query<IMediaSeeking>(graph, "the graph lacks IMediaSeeking");
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
        "Play a clip with its audio, in a window and in real time, until its end or Ctrl+C");
    AddClipOptions(*command, *options);
    command->callback([options, &action] { action = [options] { return RunPlay(*options); }; });
}

}  // namespace nyx::host
