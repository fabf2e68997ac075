// standin_encode: codes raw pictures with a stand-in engine, for clips to play. The frames go to
// one file, filled up with zero bytes to one length, which the program tells; the decoders take no
// notice of bytes behind a frame. Looks for the engines as every program does; they lie beside it.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

#include "engines/standin/frame_coder.h"

namespace standin {
namespace {

constexpr char kUsage[] =
    "standin_encode CODING WIDTHxHEIGHT PICTURES FRAMES [QUANT [EXTRA]]\n"
    "  QUANT  quantiser scale, 1 to 31, 5 when not given\n"
    "  EXTRA  black lines to code above each \"YUY2\" picture, 0 when not given\n"
    "Codings, and the pictures that they take:\n";

struct Job {
    const Coding* coding;
    LONG width;
    LONG height;
    LONG quantScale;
    LONG extraLines;
};

const char* SourceName(WORD bits) {
    return bits == 16 ? "YUY2" : (bits == 24 ? "B G R" : "B G R A");
}

/// A whole number within bounds; anything else ends the program's work.
LONG Number(const char* text, char** end, LONG least, LONG most) {
    const LONG number = std::strtol(text, end, 10);
    if (*end == text || number < least || number > most) {
        throw std::runtime_error(std::string("makes no sense: ") + text);
    }
    return number;
}

Job ReadJob(int count, char** words) {
    Job job = {FindCoding(words[1]), 0, 0, 5, 0};
    char* end = nullptr;
    job.width = Number(words[2], &end, 2, 16384);
    if (!job.coding || *end != 'x') {
        throw std::runtime_error(std::string("unknown coding or size: ") + words[1] + " " +
                                 words[2]);
    }
    job.height = Number(end + 1, &end, 1, 16384);
    job.quantScale = count > 5 ? Number(words[5], &end, 1, 31) : job.quantScale;
    job.extraLines = count > 6 ? Number(words[6], &end, 0, 128) : job.extraLines;
    if (job.extraLines > 0 && job.coding->sourceBits != 16) {
        throw std::runtime_error("lines can be added above YUY2 pictures only");
    }
    return job;
}

/// A file of frames that all have the same length.
struct FrameFile {
    std::size_t count;
    std::size_t frameBytes;
};

std::vector<std::vector<BYTE>> CodePictures(const Job& job, const char* path) {
    std::ifstream file(path, std::ios::binary);
    const auto rowBytes = static_cast<std::size_t>(job.width * job.coding->sourceBits / 8);
    const std::size_t above = rowBytes * static_cast<std::size_t>(job.extraLines);
    const std::size_t pictureBytes = rowBytes * static_cast<std::size_t>(job.height);
    std::vector<BYTE> picture(above + pictureBytes);
    for (std::size_t i = 0; i < above; ++i) {
        picture[i] = i % 2 == 0 ? 16 : 128;
    }
    const FrameCoder coder(*job.coding);
    std::vector<std::vector<BYTE>> frames;
    while (file.read(reinterpret_cast<char*>(picture.data() + above),
                     static_cast<std::streamsize>(pictureBytes))) {
        frames.push_back(
            coder.Code(picture.data(), job.width, job.height + job.extraLines, job.quantScale));
    }
    if (frames.empty() || file.gcount() != 0) {
        throw std::runtime_error(std::string("no whole number of pictures in ") + path);
    }
    return frames;
}

FrameFile WriteFrames(std::vector<std::vector<BYTE>> frames, const char* path) {
    FrameFile written = {frames.size(), 0};
    for (const auto& frame : frames) {
        written.frameBytes = std::max(written.frameBytes, frame.size());
    }
    std::ofstream file(path, std::ios::binary);
    for (auto& frame : frames) {
        frame.resize(written.frameBytes);
        file.write(reinterpret_cast<const char*>(frame.data()),
                   static_cast<std::streamsize>(frame.size()));
    }
    if (!file.flush()) {
        throw std::runtime_error(std::string("cannot write ") + path);
    }
    return written;
}

}  // namespace
}  // namespace standin

int main(int count, char** words) {
    using namespace standin;
    if (count < 5 || count > 7) {
        std::fputs(kUsage, stderr);
        for (const Coding& coding : Codings()) {
            std::fprintf(stderr, "  %-16s %s\n", coding.name, SourceName(coding.sourceBits));
        }
        return 1;
    }
    try {
        const Job job = ReadJob(count, words);
        const FrameFile file = WriteFrames(CodePictures(job, words[3]), words[4]);
        std::printf("%u frames of %u bytes\n", file.count, file.frameBytes);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "error: %s\n", failure.what());
        return 2;
    }
    return 0;
}
