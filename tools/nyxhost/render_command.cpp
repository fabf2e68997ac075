#include <CLI/CLI.hpp>

#include <cmath>

#include "clip_graph.h"
#include "commands.h"
#include "console.h"
#include "graph_description.h"
#include "progress.h"
#include "rendered_file.h"
#include "text.h"

namespace nyx::host {
namespace {

/// Reports why the system plays no picture of a file: our source or the decoders refuse it, or the
/// system chooses another source.
[[noreturn]] void ExplainRefusal(const std::string& path, HRESULT rendered) {
    const ClipGraph decoded(path, {}, [](const ArrivedFrame&) {});  // a failure says why not
    throw Failure(ExitCode::kRefused, "the system does not open " + path +
                                          " with our source, which plays it (see nyxhost play): " +
                                          ResultText(rendered));
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
    PrintGraph(file.graph.Get());
    if (FAILED(file.result) || (file.result != S_OK && !file.type.HasPicture())) {
        ExplainRefusal(path, file.result);
    }
    if (file.result != S_OK) {
        PrintWarning("not every stream is played: " + ResultText(file.result));
    }
    RemoveClock(file.graph);
    {
        Progress progress("playing", PicturesToCome(file.graph, file.type));
        RunToEnd(file.graph, [&] {
            progress.Show(file.pictures);
            return true;
        });
    }
    Print(Format("%ld pictures, %ld audio samples\n", file.pictures.load(), file.audio.load()));
    return ExitCode::kOk;
}

}  // namespace

void AddRenderCommand(CLI::App& app, Action& action) {
    const auto [command, path] = AddCommand(
        app, action, "render",
        "Build a file's graph as a player does, without a window, and list its filters", RunRender);
    command.add_option("file", path, "Any file")->required();
}

}  // namespace nyx::host
