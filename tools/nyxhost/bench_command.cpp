#include <CLI/CLI.hpp>

#include <algorithm>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "playback_report.h"
#include "text.h"

namespace nyx::host {
namespace {

struct BenchOptions {
    ClipOptions clip;
    std::string format = "rgb32";
    long repeat = 3;
};

ExitCode RunBench(const BenchOptions& options) {
    const std::unique_ptr<ClipReader> opened = OpenClip(options.clip.path);
    const ClipReader& clip = *opened;
    Print(options.clip.path + ": " + DescribeClip(clip) + "\n");

    PlaybackGraph::Options graphOptions;
    graphOptions.format = FindPictureFormat(options.format);
    graphOptions.frames = options.clip.frames;
    graphOptions.videoInfo2 = options.clip.videoInfo2;
    PlaybackGraph graph(clip, graphOptions, [](const ArrivedFrame&) {});
    Print("decoder: " + graph.DecoderName() + ", delivers " + options.format + "\n");

    ExitCode code = ExitCode::kOk;
    double bestDecode = 0;
    double bestRate = 0;
    for (long pass = 1; pass <= options.repeat && code == ExitCode::kOk; ++pass) {
        PassResult result;
        {
            Progress progress("playing", std::min(options.clip.frames, clip.FrameCount()));
            result = graph.Play([&progress](LONG done) { progress.Show(done); });
        }
        const double rate = result.seconds > 0 ? result.arrived / result.seconds : 0;
        Print(
            Format("pass %ld: %ld frames in %.3f s, %.1f frames per second; %.3f ms per frame, "
                   "of that %.3f ms in the decoder\n",
                   pass, result.arrived, result.seconds, rate, rate > 0 ? 1000 / rate : 0.0,
                   result.codecMsPerFrame));
        bestDecode =
            pass == 1 ? result.codecMsPerFrame : std::min(bestDecode, result.codecMsPerFrame);
        bestRate = std::max(bestRate, rate);
        code = ReportFaults(result);
    }
    Print(Format("best: %.1f frames per second, %.3f ms per frame in the decoder\n", bestRate,
                 bestDecode));
    return code;
}

}  // namespace

void AddBenchCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<BenchOptions>();
    CLI::App* command =
        app.add_subcommand("bench", "Measure how fast a clip decodes through a filter graph");
    AddClipOptions(*command, options->clip);
    AddFormatOption(*command, options->format);
    command->add_option("--repeat", options->repeat, "Play the clip so many times")
        ->check(CLI::Range(1L, 1000000L))
        ->type_name("N")
        ->capture_default_str();
    command->callback([options, &action] { action = [options] { return RunBench(*options); }; });
}

}  // namespace nyx::host
