/// @file
/// standin_encode: encodes raw pictures with a stand-in engine into an AVI. The engines are beside
/// it.

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "engines/standin/frame_coder.h"
#include "host/avi_writer.h"

namespace standin {
namespace {

struct Job {
    std::string coding;
    std::pair<LONG, LONG> size;
    std::pair<LONG, LONG> rate;  ///< frames per second, a fraction
    std::string pictures;
    std::string avi;
    LONG quantScale = 5;
    LONG extraLines = 0;
};

/// Defines the command line, which fills `job`.
void AddOptions(CLI::App& app, Job& job) {
    std::vector<std::string> names;
    std::string help = "Coding; YUY2 pictures unless stated:";
    for (const Coding& coding : Codings()) {
        names.emplace_back(coding.name);
        help += std::string(" ") + coding.name;
        if (coding.sourceBits != 16) {
            help += coding.sourceBits == 24 ? " (B G R)" : " (B G R A)";
        }
    }
    app.add_option("coding", job.coding, help)->required()->check(CLI::IsMember(names));
    app.add_option("size", job.size, "Picture size, such as 720x576")
        ->required()
        ->delimiter('x')
        ->check(CLI::Range(1L, 16384L));
    app.add_option("rate", job.rate, "Frames per second, such as 30000/1001")
        ->required()
        ->delimiter('/')
        ->check(CLI::Range(1L, 1000000L));
    app.add_option("pictures", job.pictures, "File of raw pictures")->required();
    app.add_option("avi", job.avi, "The AVI file to write")->required();
    app.add_option("quant", job.quantScale, "Quantiser scale")
        ->check(CLI::Range(1L, 31L))
        ->capture_default_str();
    app.add_option("extra", job.extraLines, "Black lines to encode above each YUY2 picture")
        ->check(CLI::Range(0L, 128L));
}

void CheckWritten(HRESULT result) {
    if (FAILED(result)) {
        throw std::runtime_error("cannot write the AVI");
    }
}

BITMAPINFOHEADER HeaderOf(const Job& job, const Coding& coding) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = job.size.first;
    header.biHeight = job.size.second;
    header.biPlanes = 1;
    header.biBitCount = coding.streamBits;
    std::memcpy(&header.biCompression, coding.fourcc, 4);
    return header;
}

/// Encodes every picture of the file into the AVI and returns their number.
unsigned EncodePictures(const Job& job, const Coding& coding, nyx::host::AviWriter* avi) {
    const auto [width, height] = job.size;
    std::ifstream file(job.pictures, std::ios::binary);
    const auto rowBytes = static_cast<std::size_t>(width * coding.sourceBits / 8);
    const std::size_t above = rowBytes * static_cast<std::size_t>(job.extraLines);
    const std::size_t pictureBytes = rowBytes * static_cast<std::size_t>(height);
    std::vector<BYTE> picture(above + pictureBytes);
    for (std::size_t i = 0; i < above; ++i) {
        picture[i] = i % 2 == 0 ? 16 : 128;
    }
    const FrameCoder coder(coding);
    unsigned count = 0;
    for (; file.read(reinterpret_cast<char*>(picture.data() + above),
                     static_cast<std::streamsize>(pictureBytes));
         ++count) {
        const std::vector<BYTE> frame =
            coder.Code(picture.data(), width, height + job.extraLines, job.quantScale);
        CheckWritten(avi->Write(frame.data(), static_cast<LONG>(frame.size())));
    }
    if (count == 0 || file.gcount() != 0) {
        throw std::runtime_error("not a whole number of pictures in " + job.pictures);
    }
    return count;
}

void Run(const Job& job) {
    const Coding& coding = *FindCoding(job.coding);
    if (job.extraLines > 0 && coding.sourceBits != 16) {
        throw std::runtime_error("only YUY2 pictures can have extra lines");
    }
    nyx::host::AviWriter avi;
    CheckWritten(avi.Create(std::filesystem::path(job.avi).wstring(), HeaderOf(job, coding),
                            static_cast<DWORD>(job.rate.first),
                            static_cast<DWORD>(job.rate.second)));
    const unsigned frames = EncodePictures(job, coding, &avi);
    CheckWritten(avi.Finish());
    std::printf("%u frames\n", frames);
}

}  // namespace
}  // namespace standin

int main(int count, char** words) {
    CLI::App app("Encodes raw pictures with a stand-in engine into an AVI.", "standin_encode");
    app.allow_windows_style_options(false);  // paths may begin with a slash
    standin::Job job;
    standin::AddOptions(app, job);
    try {
        app.parse(count, words);
        standin::Run(job);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "error: %s\n", failure.what());
        return 2;
    }
    return 0;
}
