#include <CLI/CLI.hpp>

#include <atomic>
#include <cmath>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "decoder_candidates.h"
#include "footage.h"
#include "frame_sink.h"
#include "graph_description.h"
#include "graph_tools.h"
#include "platform/system.h"
#include "progress.h"
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

    /// Whether anything is connected to it.
    bool IsConnected() const {
        ComPtr<IPin> peer;
        return SUCCEEDED(sink_->Input()->ConnectedTo(peer.GetAddressOf()));
    }

    HRESULT Connect(IGraphBuilder* graph, IPin* from) const {
        return graph->Connect(from, sink_->Input());
    }

    /// The type that it is connected with; an empty one where it is not.
    MediaType Type() const {
        MediaType type;
        sink_->Input()->ConnectionMediaType(&type);
        return type;
    }

    /// Leaves a graph that would wait for it in vain.
    void LeaveIfIdle(IGraphBuilder* graph) const {
        if (!IsConnected()) {
            graph->RemoveFilter(sink_.Get());
        }
    }

  private:
    std::atomic<LONG> count_{0};
    ComPtr<FrameSink> sink_;
};

/// Failure kInput for a file that is not there or cannot be read.
void CheckReadable(const std::string& path) {
    const HANDLE file = CreateFileW(Wide(path).c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        throw Failure(ExitCode::kInput, "cannot open " + path + ": " + ResultText(LastError()));
    }
    CloseHandle(file);
}

/// Says why the system shows no picture of a file: what it is to our source, or to the decoders, or
/// that the system asks another source for it.
[[noreturn]] void ExplainRefusal(const std::string& path, HRESULT rendered) {
    const auto graph = CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph");
    const Footage clip(graph.Get(), path);
    const Counter pictures(graph.Get(), L"Pictures", IsPicture);
    if (SUCCEEDED(pictures.Connect(graph.Get(), clip.Video().pin.Get()))) {
        throw Failure(
            ExitCode::kRefused,
            "the system does not bring " + path +
                " to our source, which plays it (see nyxhost play): " + ResultText(rendered));
    }
    ExplainFailedConnection(clip.Video().type, "a picture", rendered);
}

/// As many pictures of a type as the graph plays, as far as it tells.
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
    const auto graph = CreateObject<IGraphBuilder>(CLSID_FilterGraph, "no filter graph");
    const Counter pictures(graph.Get(), L"Pictures", IsPicture);
    const Counter sound(graph.Get(), L"Sound", IsValid);
    const HRESULT rendered = graph->RenderFile(Wide(path).c_str(), nullptr);
    pictures.LeaveIfIdle(graph.Get());
    sound.LeaveIfIdle(graph.Get());
    PrintGraph(graph.Get());
    if (FAILED(rendered) || (rendered != S_OK && !pictures.IsConnected())) {
        ExplainRefusal(path, rendered);
    }
    if (rendered != S_OK) {
        PrintWarning("not every stream is played: " + ResultText(rendered));
    }
    Check(Query<IMediaFilter>(graph, "the graph has no media filter")->SetSyncSource(nullptr),
          "the graph keeps its clock");
    {
        Progress progress("playing", PicturesToCome(graph, pictures.Type()));
        RunToEnd(graph, [&] { return progress.Show(pictures.Count()), true; });
    }
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
