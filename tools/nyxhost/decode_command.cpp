#include <CLI/CLI.hpp>

#include <filesystem>

#include <wincrypt.h>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "graph_tools.h"
#include "output_file.h"
#include "picture.h"
#include "platform/system.h"
#include "text.h"
#include "wav_writer.h"

namespace nyx::host {
namespace {

struct DecodeOptions {
    ClipOptions clip;
    std::string folder;
    std::string rawFile;
    std::string audioFile;
    bool hash = false;
    bool square = false;
};

/// The MD5 of any bytes in hexadecimal.
std::string Md5Of(const BYTE* data, std::size_t size) {
    BYTE digest[16]{};
    DWORD length = sizeof(digest);
    const BOOL done =
        CryptHashCertificate(0, CALG_MD5, 0, data, static_cast<DWORD>(size), digest, &length);
    Check(done != FALSE ? S_OK : LastError(), "cannot compute a hash");
    std::string text;
    for (const BYTE byte : digest) {
        text += Format("%02x", byte);
    }
    return text;
}

/// Writes the frames as PNG pictures, as raw bytes, as hashes, or any of these.
class FrameOutputs {
  public:
    /// For the pictures of `graph`.
    FrameOutputs(const DecodeOptions& options, const ClipGraph& graph)
        : square_(options.square), first_(graph.Clip().FrameAt(options.clip.graph.from)) {
        const PictureFormat& format = *options.clip.graph.format;
        if (options.hash) {
            const auto [frames, seconds] = RateOf(graph.Clip().Video().type);
            const BITMAPINFOHEADER& header = graph.ConnectedType().Header();
            hashes_ = std::make_unique<OutputFile>(kStandardOutput);
            PutHash(
                Format("#format: frame checksums\n#version: 2\n#hash: MD5\n#tb 0: %ld/%ld\n"
                       "#media_type 0: video\n#codec_id 0: rawvideo\n#dimensions 0: %ldx%ld\n"
                       "#stream#, dts,        pts, duration,     size, hash\n",
                       seconds, frames, header.biWidth, std::labs(header.biHeight)));
        }
        if (!options.rawFile.empty()) {
            raw_ = std::make_unique<OutputFile>(options.rawFile);
        }
        if (!options.folder.empty() ||
            (raw_ == nullptr && hashes_ == nullptr && options.audioFile.empty())) {
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
        if (hashes_ != nullptr) {
            WriteHash(frame, data, static_cast<std::size_t>(size));
        }
        if (png_ != nullptr) {
            png_->Write(prefix_ + Format("%05ld.png", frame.index), frame.type, data,
                        static_cast<std::size_t>(size), square_ ? SquareWidth(frame.type) : 0);
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
    /// A line of ffmpeg's "framemd5" format: times count frames from the first one. YUY2 is hashed
    /// as delivered, RGB as rows from the top without padding, B G R, or B G R A in argb32.
    void WriteHash(const ArrivedFrame& frame, const BYTE* data, std::size_t size) const {
        Picture picture;
        if (frame.type.subtype != MEDIASUBTYPE_YUY2) {
            picture = MakePicture(frame.type, data, size);
            data = picture.pixels.data();
            size = picture.pixels.size();
        }
        const LONG time = frame.index - first_;
        PutHash(Format("0, %10ld, %10ld, %8d, %8zu, ", time, time, 1, size) + Md5Of(data, size) +
                "\n");
    }

    void PutHash(const std::string& text) const {
        hashes_->Write(text.data(), static_cast<DWORD>(text.size()));
    }

    const bool square_;
    const LONG first_;  ///< number of the first frame
    std::unique_ptr<OutputFile> raw_;
    std::unique_ptr<OutputFile> hashes_;
    std::unique_ptr<PngWriter> png_;
    std::string prefix_;
};

/// Opens a WAV file per audio stream: `file` for the first one, "file-2.wav" and so on. The
/// standard output takes the first stream alone.
std::vector<std::unique_ptr<WavWriter>> WriteAudio(ClipGraph& graph, const std::string& file) {
    std::vector<std::unique_ptr<WavWriter>> writers;
    if (file.empty()) {
        return writers;
    }
    if (graph.Clip().Audio().empty()) {
        throw Failure(ExitCode::kRefused, "the clip has no audio");
    }
    for (const SourceStream& stream : graph.Clip().Audio()) {
        std::filesystem::path path(Wide(file));
        if (!writers.empty() && file == kStandardOutput) {
            PrintWarning("further audio streams are left out");
            break;
        }
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

/// Failure kUsage when more than one output goes to the standard output, or to a console.
void PrepareStandardOutput(const DecodeOptions& options) {
    const int outputs = (options.rawFile == kStandardOutput) +
                        (options.audioFile == kStandardOutput) + options.hash;
    if (outputs > 1) {
        throw Failure(ExitCode::kUsage,
                      "only one of --raw -, --audio - and --hash can use the standard output");
    }
    if (outputs == 1) {
        UseStandardOutputForData();
    }
}

ExitCode RunDecode(const DecodeOptions& options) {
    PrepareStandardOutput(options);
    RefuseSameFile(options.clip.path, options.rawFile);
    RefuseSameFile(options.clip.path, options.audioFile);
    std::unique_ptr<FrameOutputs> outputs;
    std::vector<std::unique_ptr<WavWriter>> audio;
    ClipGraph graph(options.clip.path, options.clip.graph,
                    [&outputs](const ArrivedFrame& frame) { outputs->Write(frame); });
    Print(options.clip.path + ": " + DescribeVideo(graph.Clip()) + "\n");
    Print("decoder: " + graph.DecoderName() + ", delivers " + options.clip.graph.format->name +
          "\n");
    outputs = std::make_unique<FrameOutputs>(options, graph);
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
    const auto [command, options] = AddCommand(
        app, action, "decode",
        "Decode a clip through a filter graph to PNG pictures, raw pictures and audio", RunDecode);
    AddClipOptions(command, options.clip);
    AddFormatOption(command, options.clip, "rgb24");
    command
        .add_option(
            "--out", options.folder,
            "Folder for PNG pictures in any format but yuy2 (default: the current folder; no "
            "pictures with --raw or --audio)")
        ->type_name("DIR");
    command
        .add_option("--raw", options.rawFile,
                    "File for the bytes of all samples, one frame after another; - for the "
                    "standard output")
        ->type_name("FILE");
    command
        .add_option("--audio", options.audioFile,
                    "WAV file for the audio; further audio streams go to FILE-2 and so on; - for "
                    "the first one to the standard output")
        ->type_name("FILE");
    command.add_flag("--hash", options.hash,
                     "Write the MD5 of each picture to the standard output, as ffmpeg -f framemd5");
    command.add_flag("--square", options.square,
                     "Scale PNG pictures to their display aspect with square pixels");
}

}  // namespace nyx::host
