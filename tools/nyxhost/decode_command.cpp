#include <CLI/CLI.hpp>

#include <filesystem>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "graph_tools.h"
#include "output_file.h"
#include "png_writer.h"
#include "text.h"
#include "wav_writer.h"

namespace nyx::host {
namespace {

struct DecodeOptions {
    ClipOptions clip;
    std::string folder;
    std::string rawFile;
    std::string audioFile;
};

/// Writes the frames as PNG pictures, into one file of raw bytes, or both.
class FrameOutputs {
  public:
    explicit FrameOutputs(const DecodeOptions& options) {
        const PictureFormat& format = *options.clip.graph.format;
        if (!options.rawFile.empty()) {
            raw_ = std::make_unique<OutputFile>(options.rawFile);
        }
        if (!options.folder.empty() || (raw_ == nullptr && options.audioFile.empty())) {
            if (format.compression != BI_RGB) {
                throw Failure(ExitCode::kUsage, "PNG pictures need an RGB format; write " +
                                                    std::string(format.name) + " with --raw");
            }
            const std::string folder = options.folder.empty() ? "." : options.folder;
            MakeFolder(folder);
            const std::filesystem::path clip(Wide(options.clip.path));
            prefix_ = folder + "\\" + Utf8(clip.stem().wstring()) + "-" + format.name + "-";
            png_ = std::make_unique<PngWriter>();
        }
    }

    void Write(const ArrivedFrame& frame) {
        BYTE* data = DataOf(frame.sample);
        const LONG size = frame.sample.GetActualDataLength();
        if (raw_ != nullptr) {
            raw_->Write(data, static_cast<DWORD>(size));
        }
        if (png_ != nullptr) {
            png_->Write(prefix_ + Format("%05ld.png", frame.index), frame.type, data,
                        static_cast<std::size_t>(size));
        }
    }

    /// Keeps the raw file, which is complete.
    void Finish() {
        if (raw_ != nullptr) {
            raw_->Finish();
        }
    }

    /// The pattern of the pictures' names; empty without pictures.
    std::string PictureNames() const { return png_ != nullptr ? prefix_ + "*.png" : ""; }

  private:
    std::unique_ptr<OutputFile> raw_;
    std::unique_ptr<PngWriter> png_;
    std::string prefix_;
};

/// Opens a WAV file per audio stream: `file` for the first one, "file-2.wav" and so on.
std::vector<std::unique_ptr<WavWriter>> WriteAudio(PlaybackGraph& graph, const std::string& file) {
    std::vector<std::unique_ptr<WavWriter>> writers;
    if (file.empty()) {
        return writers;
    }
    if (graph.Clip().Audio().empty()) {
        throw Failure(ExitCode::kRefused, "the clip has no audio");
    }
    for (const SourceStream& stream : graph.Clip().Audio()) {
        std::filesystem::path path(Wide(file));
        if (!writers.empty()) {
            path.replace_filename(path.stem().wstring() + L"-" +
                                  std::to_wstring(writers.size() + 1) + path.extension().wstring());
        }
        const std::string name = Utf8(path.wstring());
        writers.push_back(std::make_unique<WavWriter>(name, stream.type));
        graph.AddAudioSink(stream, [writer = writers.back().get()](IMediaSample& sample) {
            writer->Write(sample);
        });
        Print("audio: " + name + ", " + DescribeAudio(stream.type) + "\n");
    }
    return writers;
}

ExitCode RunDecode(const DecodeOptions& options) {
    RefuseSameFile(options.clip.path, options.rawFile);
    RefuseSameFile(options.clip.path, options.audioFile);
    std::unique_ptr<FrameOutputs> outputs;
    std::vector<std::unique_ptr<WavWriter>> audio;
    PlaybackGraph graph(options.clip.path, options.clip.graph,
                        [&outputs](const ArrivedFrame& frame) { outputs->Write(frame); });
    Print(options.clip.path + ": " + DescribeVideo(graph.Clip()) + "\n");
    Print("decoder: " + graph.DecoderName() + ", delivers " + options.clip.graph.format->name +
          "\n");
    outputs = std::make_unique<FrameOutputs>(options);
    audio = WriteAudio(graph, options.audioFile);

    const PassResult result = graph.Play("decoding");
    for (const std::unique_ptr<WavWriter>& writer : audio) {
        writer->Finish();
    }
    if (result.arrived > 0) {
        outputs->Finish();
    }
    PrintSpeed(result);
    if (!outputs->PictureNames().empty()) {
        Print("pictures: " + outputs->PictureNames() + "\n");
    }
    return ReportLostFrames(result, "decoded");
}

}  // namespace

void AddDecodeCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<DecodeOptions>();
    CLI::App* command = app.add_subcommand(
        "decode", "Decode a clip through a filter graph to PNG pictures, raw pictures and audio");
    AddClipOptions(*command, options->clip);
    AddFormatOption(*command, options->clip, "rgb24");
    command
        ->add_option(
            "--out", options->folder,
            "Folder for PNG pictures in any format but yuy2 (default: the current folder; no "
            "pictures with --raw or --audio)")
        ->type_name("DIR");
    command
        ->add_option("--raw", options->rawFile,
                     "File for the bytes of all samples, one frame after another")
        ->type_name("FILE");
    command
        ->add_option("--audio", options->audioFile,
                     "WAV file for the audio; further audio streams go to FILE-2 and so on")
        ->type_name("FILE");
    command->callback([options, &action] { action = [options] { return RunDecode(*options); }; });
}

}  // namespace nyx::host
