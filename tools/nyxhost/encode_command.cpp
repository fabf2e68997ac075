#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "clip_graph.h"
#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "graph_tools.h"
#include "host/avi_writer.h"
#include "output_file.h"
#include "settings/quality_presets.h"
#include "text.h"
#include "wav_writer.h"

namespace nyx::host {
namespace {

struct EncodeOptions {
    std::string input;
    std::string output;
    ClipGraph::Options range;
    std::optional<LONG> preset;
    std::optional<LONG> quantScale;
    std::optional<LONG> maxStreamSize;
    DWORD partMegabytes = AviWriter::kRiffMegabytes;
    std::string format;            ///< of raw pictures; empty for footage
    std::pair<LONG, LONG> size{};  ///< of raw pictures
    std::pair<LONG, LONG> rate{};  ///< of raw pictures: frames per second, a fraction
};

/// Sets the parameters that the user gave; the encoder keeps the others.
void SetQuality(const EncodeOptions& options, const EncoderFilter& encoder) {
    const bool custom = options.quantScale || options.maxStreamSize;
    if (custom && options.preset.value_or(kCustomPreset) != kCustomPreset) {
        throw Failure(ExitCode::kUsage, "--quant and --max-size need --preset 4, the custom one");
    }
    if (!custom && !options.preset) {
        return;
    }
    EncodeParameterBlock block = LiveParameters(encoder);
    block.preset = options.preset.value_or(kCustomPreset);
    if (block.preset != kCustomPreset) {
        block.quant_scale = kQualityPresets[block.preset].quant_scale;
        block.max_stream_size = kQualityPresets[block.preset].max_stream_size;
    }
    block.quant_scale = options.quantScale.value_or(block.quant_scale);
    block.max_stream_size = options.maxStreamSize.value_or(block.max_stream_size);
    Check(encoder.parameters->SetParameter(&block, FALSE), "the encoder refuses the parameters");
}

/// The raw pictures that the options describe; none for footage.
std::optional<FrameList> RawPictures(const EncodeOptions& options) {
    const PictureFormat* format = FindPictureFormat(options.format);
    const auto [width, height] = options.size;
    const bool raw = width > 0 && height != 0;
    if (raw != (options.rate.first > 0) || raw != (format != nullptr)) {
        throw Failure(
            ExitCode::kUsage,
            "raw pictures need --size, --rate and one of --yuy2, --rgb24, --rgb32 and --argb");
    }
    if (!raw) {
        return std::nullopt;
    }
    FrameList pictures = OpenRawPictures(options.input, *format, width, height, options.rate);
    const Place& from = options.range.from;
    const LONG first = from.time < 0 ? from.frame : pictures.FrameAt(from.time);
    if (first >= pictures.count) {
        throw PastEnd(options.input, pictures.count);
    }
    pictures.Select(first, options.range.frames);
    return pictures;
}

/// Ends the command when `result` of writing `path` is a failure.
void CheckOutput(HRESULT result, const std::string& path) {
    if (result == HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE)) {
        throw Failure(ExitCode::kTooLarge, path + " has as many parts as an AVI can");
    }
    Check(result, "cannot write " + path, ExitCode::kOutput);
}

/// Adds the streams of audio to `avi`; each runs in a thread of its own, hence `lock`.
void WriteAudio(ClipGraph& graph, AviWriter& avi, Mutex& lock, const std::string& path) {
    const std::vector<SourceStream>& streams = graph.Clip().Audio();
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const MediaType& type = streams[i].type;
        const WAVEFORMATEX& format = WaveFormatOf(type);
        avi.AddAudio(format, type.cbFormat);
        const auto write = [&avi, &lock, path, i](const BYTE* data, DWORD size) {
            const std::lock_guard guard(lock);
            CheckOutput(avi.WriteAudio(i, data, static_cast<LONG>(size)), path);
        };
        graph.AddAudioSink(streams[i], [write, type, begun = false](IMediaSample& sample) mutable {
            if (!std::exchange(begun, true)) {
                WriteLead(sample, WaveFormatOf(type), write);
            }
            write(DataOf(sample), static_cast<DWORD>(sample.GetActualDataLength()));
        });
        Print("audio: " + DescribeAudio(type) + "\n");
    }
}

ExitCode RunEncode(const EncodeOptions& options) {
    RefuseSameFile(options.input, options.output);
    const EncoderFilter encoder = FindEncoder();
    SetQuality(options, encoder);

    AviWriter avi(options.partMegabytes);
    Mutex lock;
    long long bytes = 0;
    const std::optional<FrameList> pictures = RawPictures(options);
    ClipGraph::Options range = options.range;
    range.encoder = &encoder;
    const auto onFrame = [&](const ArrivedFrame& frame) {
        BYTE* data = DataOf(frame.sample);
        const std::lock_guard guard(lock);
        CheckOutput(avi.Write(data, frame.sample.GetActualDataLength()), options.output);
        bytes += frame.sample.GetActualDataLength();
    };
    const auto graph = pictures ? std::make_unique<ClipGraph>(*pictures, range, onFrame)
                                : std::make_unique<ClipGraph>(options.input, range, onFrame);
    Print(options.input + ": " +
          (pictures ? options.format + Format(", %ldx%ld, %ld frames", options.size.first,
                                              options.size.second, pictures->count)
                    : DescribeVideo(graph->Clip())) +
          "\n");
    Print("encoder: " + encoder.name + ", " + DescribeParameters(LiveParameters(encoder)) + "\n");
    const auto [frames, seconds] = pictures ? pictures->rate : RateOf(graph->Clip().Video().type);
    const BITMAPINFOHEADER& header = graph->ConnectedType().Header();
    Check(avi.Create(Wide(options.output), header, static_cast<DWORD>(frames),
                     static_cast<DWORD>(seconds)),
          "cannot create " + options.output, ExitCode::kOutput);
    if (!pictures) {
        WriteAudio(*graph, avi, lock, options.output);
    }
    const PassResult result = graph->Play("encoding");
    CheckOutput(avi.Finish(), options.output);

    PrintSpeed(result);
    const double count = std::max<double>(result.arrived, 1);
    const double mean = static_cast<double>(bytes) / count;
    Print(options.output +
          Format(": %lld bytes of frames, %.2f Mbit/s, %.1f %% of 4:2:2 pictures\n", bytes,
                 8e-6 * mean * frames / seconds,
                 100 * mean / (2.0 * header.biWidth * std::abs(header.biHeight))));
    return ReportLostFrames(result, "encoded");
}

}  // namespace

void AddEncodeCommand(CLI::App& app, Action& action) {
    const auto [command, options] = AddCommand(
        app, action, "encode",
        "Encode footage or raw pictures through a filter graph with the Zeta encoder", RunEncode);
    command.footer([] { return std::string("The module has an encoder filter for Zeta only.\n"); });
    command.add_option("input", options.input, "A file of footage; with --size, raw pictures")
        ->required();
    AddRangeOptions(command, options.range);
    command.add_option("output", options.output, "The AVI file to write")->required();
    command
        .add_option("--preset", options.preset,
                    "0 online superfine, 1 online fine, 2 online standard, 3 offline, 4 custom; "
                    "without --preset, --quant and --max-size the stored settings apply")
        ->check(CLI::Range(0L, kCustomPreset));
    command.add_option("--quant", options.quantScale, "Quantiser, 4 (fine) to 19 (coarse)")
        ->check(CLI::Range(kQuantScaleRange.low, kQuantScaleRange.high));
    command
        .add_option("--max-size", options.maxStreamSize,
                    "Maximum bytes of a frame in percent of a 4:2:2 picture, 4 to 100")
        ->check(CLI::Range(kMaxStreamSizeRange.low, kMaxStreamSizeRange.high));
    command
        .add_option("--part", options.partMegabytes,
                    "Megabytes after which the AVI goes on in another part, for programs that "
                    "know OpenDML only")
        ->check(CLI::Range(1u, unsigned{AviWriter::kRiffMegabytes}))
        ->capture_default_str();
    CLI::Option_group* group = command.add_option_group("pictures", "Format of raw pictures");
    const auto add = [group, &options = options](const char* flag, const char* format,
                                                 const char* help) {
        group->add_flag_callback(
            flag, [&options, format] { options.format = format; }, help);
    };
    add("--yuy2", "yuy2", "The pictures are 4:2:2");
    add("--rgb24", "rgb24", "The pictures are 24-bit RGB");
    add("--rgb32", "rgb32", "The pictures are 32-bit RGB without alpha");
    add("--argb", "argb32", "The pictures are 32-bit RGB; the fourth byte is alpha");
    group->require_option(0, 1);
    command
        .add_option("--size", options.size,
                    "Size of raw pictures, such as 1920x1080; RGB rows run from bottom to top, "
                    "with a negative height from top to bottom")
        ->delimiter('x')
        ->type_name("SIZE");
    command
        .add_option("--rate", options.rate, "Frames per second of raw pictures, such as 30000/1001")
        ->delimiter('/')
        ->check(CLI::Range(1L, LONG_MAX))
        ->type_name("RATE");
}

}  // namespace nyx::host
