#include <CLI/CLI.hpp>

#include <cstring>

#include "avi_writer.h"
#include "commands.h"
#include "console.h"
#include "input_file.h"
#include "interrupt.h"
#include "number_options.h"
#include "text.h"

namespace nyx::host {
namespace {

struct WrapOptions {
    std::string input;
    std::string output;
    std::string fourcc;
    std::string size;
    std::string rate;
    WORD bits = 0;
    LONG frameBytes = 0;
    std::vector<std::string> infos;
};

/// What an "INFO" chunk is to say about a frame.
struct FrameNote {
    LONG field;  ///< 0 top first, 1 bottom first, 2 progressive; -1 leaves the sub-chunk out
    LONG aspectX;
    LONG aspectY;
};

void AppendWord(std::vector<BYTE>& bytes, DWORD word) {
    for (int i = 0; i < 4; ++i) {
        bytes.push_back(static_cast<BYTE>(word >> (8 * i) & 0xff));
    }
}

void AppendTag(std::vector<BYTE>& bytes, const char* tag) {
    bytes.insert(bytes.end(), tag, tag + 4);
}

/// The chunk in front of a frame: tag, payload size, two words of the codecs' own, the pixel aspect
/// ratio, and the field order as a sub-chunk.
std::vector<BYTE> InfoChunk(const FrameNote& note) {
    std::vector<BYTE> payload;
    AppendWord(payload, 0);
    AppendWord(payload, 0);
    AppendWord(payload, static_cast<DWORD>(note.aspectX));
    AppendWord(payload, static_cast<DWORD>(note.aspectY));
    if (note.field >= 0) {
        AppendTag(payload, "FIEL");
        AppendWord(payload, 4);
        AppendWord(payload, static_cast<DWORD>(note.field));
    }
    std::vector<BYTE> chunk;
    AppendTag(chunk, "INFO");
    AppendWord(chunk, static_cast<DWORD>(payload.size()));
    chunk.insert(chunk.end(), payload.begin(), payload.end());
    return chunk;
}

/// The raw frames' file, read from start to end.
class RawFrames {
  public:
    RawFrames(const std::string& path, LONG frameBytes)
        : path_(path), frameBytes_(frameBytes), file_(path) {
        const long long size = file_.Size();
        count_ = size / frameBytes;
        if (count_ == 0 || size % frameBytes != 0) {
            throw Failure(ExitCode::kInput,
                          path + Format(" has %lld bytes, which is no whole number of frames of "
                                        "%ld bytes",
                                        size, frameBytes));
        }
    }

    long long Count() const { return count_; }

    void ReadNext(BYTE* out) {
        if (!file_.ReadAt(at_, out, static_cast<DWORD>(frameBytes_))) {
            throw Failure(ExitCode::kInput, "cannot read " + path_);
        }
        at_ += frameBytes_;
    }

  private:
    std::string path_;
    LONG frameBytes_;
    InputFile file_;
    long long count_ = 0;
    long long at_ = 0;
};

BITMAPINFOHEADER MakeHeader(const WrapOptions& options, std::size_t largestFrame) {
    if (options.fourcc.size() != 4) {
        BadOption("--fourcc: \"" + options.fourcc + "\" has not four characters");
    }
    const PictureSize size = ReadSize(options.size);
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = size.width;
    header.biHeight = size.height;
    header.biPlanes = 1;
    header.biBitCount = options.bits;
    std::memcpy(&header.biCompression, options.fourcc.data(), 4);
    header.biSizeImage = static_cast<DWORD>(largestFrame);
    return header;
}

ExitCode RunWrap(const WrapOptions& options) {
    const FrameRate rate = ReadRate(options.rate);
    std::vector<std::vector<BYTE>> chunks;
    std::size_t largestChunk = 0;
    for (const std::string& info : options.infos) {
        const std::vector<LONG> note = ReadNumbers(info, ',', 3, "--info");
        chunks.push_back(InfoChunk({note[0], note[1], note[2]}));
        largestChunk = std::max(largestChunk, chunks.back().size());
    }
    const auto frameBytes = static_cast<std::size_t>(options.frameBytes);
    const BITMAPINFOHEADER header = MakeHeader(options, largestChunk + frameBytes);
    std::vector<BYTE> format(sizeof(header));
    std::memcpy(format.data(), &header, sizeof(header));

    RawFrames frames(options.input, options.frameBytes);
    if (frames.Count() * options.frameBytes >= kAviSizeLimit) {
        throw Failure(ExitCode::kTooLarge,
                      options.output + " would reach 2^31 bytes; an AVI must stay below that");
    }
    AviWriter avi(options.output, format, rate.rate, rate.scale, header.biSizeImage);
    {
        Progress progress("wrapping", static_cast<long>(frames.Count()));
        std::vector<BYTE> sample;
        for (long i = 0; i < frames.Count(); ++i) {
            if (Interrupted()) {
                throw Failure(ExitCode::kInterrupted, "interrupted");
            }
            sample.clear();
            if (!chunks.empty()) {
                sample = chunks[static_cast<std::size_t>(i) % chunks.size()];
            }
            const std::size_t start = sample.size();
            sample.resize(start + frameBytes);
            frames.ReadNext(sample.data() + start);
            avi.Write(sample.data(), static_cast<LONG>(sample.size()));
            progress.Show(i + 1);
        }
    }
    avi.Finish();
    Print(options.output + ": " + options.fourcc + ", " + options.size +
          Format(", %lld frames of %ld bytes", frames.Count(), options.frameBytes) +
          (chunks.empty() ? "\n" : " with \"INFO\" chunks\n"));
    return ExitCode::kOk;
}

}  // namespace

void AddWrapCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<WrapOptions>();
    CLI::App* command =
        app.add_subcommand("wrap", "Make an AVI clip of raw frames that all have the same size");
    command->add_option("input", options->input, "The raw frames, one after another")->required();
    command->add_option("output", options->output, "The AVI file to make")->required();
    command->add_option("--fourcc", options->fourcc, "The format's code, such as Q210")->required();
    command->add_option("--size", options->size, "Picture size, such as 1920x1080")->required();
    command->add_option("--bits", options->bits, "Bits per pixel as the format has it")->required();
    command->add_option("--rate", options->rate, "Frames per second, such as 30000/1001")
        ->required();
    command->add_option("--frame-bytes", options->frameBytes, "Bytes of one frame")
        ->required()
        ->check(CLI::Range(1L, LONG_MAX));
    command
        ->add_option("--info", options->infos,
                     "FIELD,ASPECTX,ASPECTY: put an \"INFO\" chunk in front of every frame; field "
                     "order 0 top first, 1 bottom first, 2 progressive, -1 not told; given several "
                     "times, the frames take them in turn")
        ->take_all()
        ->allow_extra_args(false);
    command->callback([options, &action] { action = [options] { return RunWrap(*options); }; });
}

}  // namespace nyx::host
