/// What a decoder costs without a graph: `nyx_decoder_bench FILE FORMAT`, FORMAT being "yuy2",
/// "rgb24" or "rgb32", for a file of footage whose picture this module decodes. Prints milliseconds
/// from making the filter, with its engine not loaded yet, to its first picture, and milliseconds a
/// frame of the codec alone, conversion included, with the frames in memory; medians both.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>

#include "codecs/mpeg_intra_codec.h"
#include "codecs/ten_bit_codec.h"
#include "dv/dv25_codec.h"
#include "dv/dvcpro_codecs.h"
#include "source/disk_file.h"
#include "source/footage_file.h"
#include "tests/support/rig.h"

namespace nyx::bench {
namespace {

using Frames = std::vector<std::vector<BYTE>>;

/// The first frames of a file's picture, at least one.
Frames ReadFrames(const wchar_t* path, source::VideoFormat* format) {
    constexpr std::size_t kMaxBytes = std::size_t{300} << 20;
    auto disk = std::make_unique<source::DiskFile>();
    source::FootageFile file;
    if (FAILED(disk->Open(path)) || FAILED(file.Open(std::move(disk))) ||
        !file.streams()[0].video) {
        throw std::runtime_error("no footage");
    }
    *format = *file.streams()[0].video;
    Frames frames;
    source::Packet packet;
    for (std::size_t bytes = 0; bytes < kMaxBytes && file.ReadPacket(&packet) == S_OK;) {
        if (packet.stream == 0) {
            frames.emplace_back(packet.size());
            if (file.Copy(packet, frames.back().data()) != S_OK) {
                throw std::runtime_error("a frame cannot be read");
            }
            bytes += frames.back().size();
        }
    }
    if (frames.empty()) {
        throw std::runtime_error("no frames");
    }
    return frames;
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

const test::CatalogueRow& RowOf(DWORD fourcc) {
    for (const test::CatalogueRow& row : test::Catalogue()) {
        if (row.InputType().Header().biCompression == fourcc) {
            return row;
        }
    }
    throw std::runtime_error("no decoder");
}

/// Decoder, engine and connections created again each time.
double FirstPicture(const test::CatalogueRow& row, const test::Stream& stream, std::size_t output,
                    const std::vector<BYTE>& frame) {
    constexpr int kRounds = 21;
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) {
        const auto sample = test::MakeSample({frame});
        const auto start = std::chrono::steady_clock::now();
        test::Rig rig(row, stream);
        rig.sink.keepsSamples = false;
        if (FAILED(rig.ConnectInput()) ||
            FAILED(rig.ConnectOutput(row.OutputType(output, stream))) ||
            FAILED(rig.filter->Pause()) || FAILED(rig.transport->Receive(sample.Get())) ||
            rig.sink.Count() != 1) {
            throw std::runtime_error("no picture");
        }
        times.push_back(MillisecondsSince(start));
    }
    return Median(times);
}

template <class Codec>
ICodec& Made() {
    static Codec codec;
    return codec;
}

double CodecAlone(ICodec& codec, const test::MediaType& from, const test::MediaType& to,
                  const Frames& frames) {
    constexpr double kMilliseconds = 3000;
    std::vector<BYTE> picture(to.lSampleSize);
    BITMAPINFOHEADER input = from.Header();
    std::vector<double> times;
    const auto begin = std::chrono::steady_clock::now();
    do {
        const auto start = std::chrono::steady_clock::now();
        for (const std::vector<BYTE>& frame : frames) {
            input.biSizeImage = static_cast<DWORD>(frame.size());
            if (FAILED(codec.Decompress(&input, frame.data(), &to.Header(), false, picture.data(),
                                        0, 0))) {
                throw std::runtime_error("a frame does not decode");
            }
        }
        times.push_back(MillisecondsSince(start) / static_cast<double>(frames.size()));
    } while (times.size() < 3 || MillisecondsSince(begin) < kMilliseconds);
    return Median(times);
}

int Run(const wchar_t* path, const std::wstring& formatName) {
    const std::map<std::wstring, std::size_t> outputs = {
        {L"yuy2", 0}, {L"rgb24", 1}, {L"rgb32", 2}};
    const std::size_t output = outputs.at(formatName);
    source::VideoFormat format;
    const Frames frames = ReadFrames(path, &format);
    const test::CatalogueRow& row = RowOf(format.fourcc);
    const test::Stream stream = {format.width, format.height};
    const double first = FirstPicture(row, stream, output, frames[0]);

    const std::map<DWORD, ICodec& (*)()> codecs = {{FourCC("QDVC"), &Made<CDv25Codec>},
                                                   {FourCC("QDV5"), &Made<CDv50Codec>},
                                                   {FourCC("QDVH"), &Made<CDvHdCodec>},
                                                   {FourCC("QMIC"), &Made<CMpegIntraCodec>},
                                                   {FourCC("Q210"), &Made<CTenBitCodec>}};
    const double codec = CodecAlone(codecs.at(format.fourcc)(), row.InputType(stream),
                                    row.OutputType(output, stream), frames);
    std::printf("first picture %.2f ms, codec %.3f ms per frame\n", first, codec);
    return 0;
}

}  // namespace
}  // namespace nyx::bench

int wmain(int count, wchar_t** arguments) try {
    if (count != 3) {
        std::puts("usage: nyx_decoder_bench FILE yuy2|rgb24|rgb32");
        return 1;
    }
    return nyx::bench::Run(arguments[1], arguments[2]);
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
}
