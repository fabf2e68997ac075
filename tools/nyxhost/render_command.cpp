#include <CLI/CLI.hpp>

#include <cmath>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "decoder_candidates.h"
#include "footage.h"
#include "graph_description.h"
#include "progress.h"
#include "rendered_file.h"
#include "text.h"

namespace nyx::host {
namespace {

/// Reports why the system plays no picture of a file: our source or the decoders refuse it, or the
/// system chooses another source.
[[noreturn]] void ExplainRefusal(const std::string& path, HRESULT rendered) {
    const auto graph = CreateGraph();
    const Footage clip(graph.Get(), path);
    const Counter pictures(graph.Get(), L"Pictures", IsPicture);
    if (SUCCEEDED(graph->Connect(clip.Video().pin.Get(), pictures.Input()))) {
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
    const RenderedFile file(path);
    const MediaType type = file.pictures.Type();
    PrintGraph(file.graph.Get());
    if (FAILED(file.result) || (file.result != S_OK && !type.HasPicture())) {
        ExplainRefusal(path, file.result);
    }
    if (file.result != S_OK) {
        PrintWarning("not every stream is played: " + ResultText(file.result));
    }
    RemoveClock(file.graph);
    {
        Progress progress("playing", PicturesToCome(file.graph, type));
        RunToEnd(file.graph, [&] {
            progress.Show(file.pictures.Count());
            return true;
        });
    }
    Print(Format("%ld pictures, %ld audio samples\n", file.pictures.Count(), file.audio.Count()));
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
