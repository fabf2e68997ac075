#include <CLI/CLI.hpp>

#include <filesystem>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "output_file.h"
#include "playback_report.h"
#include "png_writer.h"
#include "text.h"

namespace nyx::host {
namespace {

struct DecodeOptions {
    ClipOptions clip;
    std::string format = "rgb32";
    std::string folder;
    std::string rawFile;
};

/// Where the frames go: PNG pictures, one file of raw bytes, or both.
class FrameOutputs {
  public:
    explicit FrameOutputs(const DecodeOptions& options) {
        if (!options.rawFile.empty()) {
            raw_ = std::make_unique<OutputFile>(options.rawFile);
        }
        if (raw_ == nullptr || !options.folder.empty()) {
            const std::string folder = options.folder.empty() ? "." : options.folder;
            MakeFolder(folder);
            const std::filesystem::path clip(Wide(options.clip.path));
            prefix_ = folder + "\\" + Utf8(clip.stem().wstring()) + "-" + options.format + "-";
            png_ = std::make_unique<PngWriter>();
        }
    }

    void Write(const ArrivedFrame& frame) {
        BYTE* data = nullptr;
        Check(frame.sample.GetPointer(&data), "a sample has no memory");
        const LONG size = frame.sample.GetActualDataLength();
        if (raw_ != nullptr) {
            raw_->Write(data, static_cast<DWORD>(size));
        }
        if (png_ != nullptr) {
            png_->Write(prefix_ + Format("%05ld.png", frame.index),
                        MakePicture(frame.type, data, static_cast<std::size_t>(size)));
        }
    }

    /// What the pictures are called, for the closing line; empty when there are none.
    std::string PictureNames() const { return png_ != nullptr ? prefix_ + "*.png" : ""; }

  private:
    std::unique_ptr<OutputFile> raw_;
    std::unique_ptr<PngWriter> png_;
    std::string prefix_;
};

ExitCode RunDecode(const DecodeOptions& options) {
    const std::unique_ptr<ClipReader> opened = OpenClip(options.clip.path);
    const ClipReader& clip = *opened;
    Print(options.clip.path + ": " + DescribeClip(clip) + "\n");

    PlaybackGraph::Options graphOptions;
    graphOptions.format = FindPictureFormat(options.format);
    graphOptions.frames = options.clip.frames;
    graphOptions.videoInfo2 = options.clip.videoInfo2;
    std::unique_ptr<FrameOutputs> outputs;
    PlaybackGraph graph(clip, graphOptions,
                        [&outputs](const ArrivedFrame& frame) { outputs->Write(frame); });
    Print("decoder: " + graph.DecoderName() + ", delivers " + options.format + "\n");
    outputs = std::make_unique<FrameOutputs>(options);

    PassResult result;
    {
        Progress progress("decoding", std::min(options.clip.frames, clip.FrameCount()));
        result = graph.Play([&progress](LONG done) { progress.Show(done); });
    }
    Print(
        Format("%ld frames in %.2f s: %.1f frames per second with writing, %.2f ms per frame in "
               "the decoder\n",
               result.arrived, result.seconds,
               result.seconds > 0 ? result.arrived / result.seconds : 0.0, result.codecMsPerFrame));
    if (!outputs->PictureNames().empty()) {
        Print("pictures: " + outputs->PictureNames() + "\n");
    }
    return ReportFaults(result);
}

}  // namespace

void AddDecodeCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<DecodeOptions>();
    CLI::App* command =
        app.add_subcommand("decode", "Decode a clip through a filter graph to PNG pictures");
    AddClipOptions(*command, options->clip);
    AddFormatOption(*command, options->format);
    command
        ->add_option("--out", options->folder,
                     "Folder for the pictures (default: the current one, or no pictures when "
                     "--raw is given)")
        ->type_name("DIR");
    command
        ->add_option("--raw", options->rawFile,
                     "File for the samples' exact bytes, one frame after another")
        ->type_name("FILE");
    command->callback([options, &action] { action = [options] { return RunDecode(*options); }; });
}

}  // namespace nyx::host
