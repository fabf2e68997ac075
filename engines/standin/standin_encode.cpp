// standin_encode: codes raw pictures with a stand-in engine, for clips to play. The frames go to
// one file without anything between them, their sizes to another, one a line, as "nyxhost wrap"
// takes them. Looks for the engines as every program does; they lie beside it.

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
    "standin_encode CODING WIDTHxHEIGHT PICTURES FRAMES SIZES [QUANT [EXTRA]]\n"
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
    job.quantScale = count > 6 ? Number(words[6], &end, 1, 31) : job.quantScale;
    job.extraLines = count > 7 ? Number(words[7], &end, 0, 128) : job.extraLines;
    if (job.extraLines > 0 && job.coding->sourceBits != 16) {
        throw std::runtime_error("lines can be added above YUY2 pictures only");
    }
    return job;
}

/// Codes every picture of a file; the number of frames.
int CodeFile(const Job& job, const char* picturesPath, const char* framesPath,
             const char* sizesPath) {
    std::ifstream pictures(picturesPath, std::ios::binary);
    std::ofstream frames(framesPath, std::ios::binary);
    std::ofstream sizes(sizesPath, std::ios::binary);
    if (!pictures || !frames || !sizes) {
        throw std::runtime_error("cannot open the files");
    }
    const auto rowBytes = static_cast<std::size_t>(job.width * job.coding->sourceBits / 8);
    const std::size_t above = rowBytes * static_cast<std::size_t>(job.extraLines);
    const std::size_t pictureBytes = rowBytes * static_cast<std::size_t>(job.height);
    std::vector<BYTE> picture(above + pictureBytes);
    for (std::size_t i = 0; i < above; ++i) {
        picture[i] = i % 2 == 0 ? 16 : 128;
    }
    const FrameCoder coder(*job.coding);
    int count = 0;
    while (pictures.read(reinterpret_cast<char*>(picture.data() + above),
                         static_cast<std::streamsize>(pictureBytes))) {
        const std::vector<BYTE> frame =
            coder.Code(picture.data(), job.width, job.height + job.extraLines, job.quantScale);
        frames.write(reinterpret_cast<const char*>(frame.data()),
                     static_cast<std::streamsize>(frame.size()));
        sizes << frame.size() << '\n';
        ++count;
    }
    if (count == 0 || pictures.gcount() != 0 || !frames.flush() || !sizes.flush()) {
        throw std::runtime_error("no whole pictures, or the frames cannot be written");
    }
    return count;
}

}  // namespace
}  // namespace standin

int main(int count, char** words) {
    using namespace standin;
    if (count < 6 || count > 8) {
        std::fputs(kUsage, stderr);
        for (const Coding& coding : Codings()) {
            std::fprintf(stderr, "  %-16s %s\n", coding.name, SourceName(coding.sourceBits));
        }
        return 1;
    }
    try {
        const Job job = ReadJob(count, words);
        std::printf("%s: %d frames\n", words[4], CodeFile(job, words[3], words[4], words[5]));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "error: %s\n", failure.what());
        return 2;
    }
    return 0;
}
