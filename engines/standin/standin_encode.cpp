// standin_encode: codes raw pictures with a stand-in engine into an AVI, for clips to play. Loads
// the engines by their bare names, from its own folder.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "engines/standin/frame_coder.h"
#include "host/avi_writer.h"

namespace standin {
namespace {

constexpr char kUsage[] =
    "standin_encode CODING WIDTHxHEIGHT RATE/SCALE PICTURES AVI [QUANT [EXTRA]]\n"
    "  QUANT  quantiser scale, 1 to 31, 5 when not given\n"
    "  EXTRA  black lines to code above each \"YUY2\" picture, 0 when not given\n"
    "Codings and their pictures:\n";

struct Job {
    const Coding* coding = nullptr;
    LONG width = 0;
    LONG height = 0;
    LONG rate = 0;  ///< frames per second, over `scale`
    LONG scale = 0;
    LONG quantScale = 5;
    LONG extraLines = 0;
};

const char* SourceName(WORD bits) {
    if (bits == 16) {
        return "YUY2";
    }
    return bits == 24 ? "B G R" : "B G R A";
}

/// A whole number within bounds. Throws for anything else.
LONG Number(const char* text, char** end, LONG min, LONG max) {
    const LONG number = std::strtol(text, end, 10);
    if (*end == text || number < min || number > max) {
        throw std::runtime_error(std::string("invalid argument: ") + text);
    }
    return number;
}

/// Two numbers with a sign between them, as in 720x576 and 30000/1001.
void ReadPair(const char* text, char between, LONG max, LONG* first, LONG* second) {
    char* end = nullptr;
    *first = Number(text, &end, 1, max);
    if (*end != between) {
        throw std::runtime_error(std::string("invalid argument: ") + text);
    }
    *second = Number(end + 1, &end, 1, max);
}

Job ReadJob(int count, char** words) {
    Job job = {.coding = FindCoding(words[1])};
    char* end = nullptr;
    if (!job.coding) {
        throw std::runtime_error(std::string("unknown coding: ") + words[1]);
    }
    ReadPair(words[2], 'x', 16384, &job.width, &job.height);
    ReadPair(words[3], '/', 1000000, &job.rate, &job.scale);
    job.quantScale = count > 6 ? Number(words[6], &end, 1, 31) : job.quantScale;
    job.extraLines = count > 7 ? Number(words[7], &end, 0, 128) : job.extraLines;
    if (job.extraLines > 0 && job.coding->sourceBits != 16) {
        throw std::runtime_error("lines can be added above YUY2 pictures only");
    }
    return job;
}

void CheckWritten(HRESULT result) {
    if (FAILED(result)) {
        throw std::runtime_error("cannot write the AVI");
    }
}

BITMAPINFOHEADER HeaderOf(const Job& job) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = job.width;
    header.biHeight = job.height;
    header.biPlanes = 1;
    header.biBitCount = job.coding->streamBits;
    std::memcpy(&header.biCompression, job.coding->fourcc, 4);
    return header;
}

/// Codes every picture of a file into the AVI; their number.
unsigned CodePictures(const Job& job, const char* path, nyx::host::AviWriter* avi) {
    std::ifstream file(path, std::ios::binary);
    const auto rowBytes = static_cast<std::size_t>(job.width * job.coding->sourceBits / 8);
    const std::size_t above = rowBytes * static_cast<std::size_t>(job.extraLines);
    const std::size_t pictureBytes = rowBytes * static_cast<std::size_t>(job.height);
    std::vector<BYTE> picture(above + pictureBytes);
    for (std::size_t i = 0; i < above; ++i) {
        picture[i] = i % 2 == 0 ? 16 : 128;
    }
    const FrameCoder coder(*job.coding);
    unsigned count = 0;
    for (; file.read(reinterpret_cast<char*>(picture.data() + above),
                     static_cast<std::streamsize>(pictureBytes));
         ++count) {
        const std::vector<BYTE> frame =
            coder.Code(picture.data(), job.width, job.height + job.extraLines, job.quantScale);
        CheckWritten(avi->Write(frame.data(), static_cast<LONG>(frame.size())));
    }
    if (count == 0 || file.gcount() != 0) {
        throw std::runtime_error(std::string("no whole number of pictures in ") + path);
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
        nyx::host::AviWriter avi;
        CheckWritten(avi.Create(std::filesystem::path(words[5]).wstring(), HeaderOf(job),
                                static_cast<DWORD>(job.rate), static_cast<DWORD>(job.scale)));
        const unsigned frames = CodePictures(job, words[4], &avi);
        CheckWritten(avi.Finish());
        std::printf("%u frames\n", frames);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "error: %s\n", failure.what());
        return 2;
    }
    return 0;
}
