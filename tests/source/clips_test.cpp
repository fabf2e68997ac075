// Pins describe and deliver every kind of file as ffmpeg itself reads it.

#include <iomanip>
#include <random>

#include "platform/fourcc.h"
#include "tests/source/footage_host.h"

#include <mmreg.h>

extern "C" {
#include <libavutil/adler32.h>
}

namespace nyx::test {
namespace {

struct Clip {
    const char* file;
    const char* picture;  ///< FourCC/bits size aspect interlace-flags frame-time
    const char* audio;    ///< bits/channels/tag/bytes behind a plain block; empty: none
};
const Clip kClips[] = {
    {"dv25.avi", "QDVC/24 720x576 16:9 A1 400000", "16/2/1/0"},
    {"dv25.mov", "QDVC/24 720x480 4:3 A1 333666", "32/2/3/0"},
    {"dv25.dv", "QDVC/24 720x576 4:3 A1 400000", "16/2/1/0"},
    {"type1.avi", "QDVC/24 720x576 4:3 A1 400000", "16/2/1/0"},
    {"dv50.mov", "QDV5/24 720x576 4:3 A1 400000", "24/6/FFFE/22"},
    {"dv50.mxf", "QDV5/24 720x480 4:3 A5 333666", "24/1/FFFE/22"},  // the container's flags
    {"atom.mxf", "QDV5/24 720x576 4:3 A1 400000", ""},
    {"dvhd.mov", "QDVH/24 1280x1080 16:9 A5 333666", "64/1/3/0"},
    {"dvhd.mxf", "QDVH/24 960x720 16:9 0 200000", "16/2/1/0"},
    {"d10.mxf", "QMIC/24 720x576 4:3 A5 400000", "16/2/1/0"},
    {"d10.gxf", "QMIC/24 720x486 4:3 A5 333666", ""},  // few frames for libavformat's guess
    {"mpeg.gxf", "QMIC/24 720x576 4:3 A5 400000", "16/1/1/0"},
    {"mpeg.mxf", "QMIC/24 720x576 4:3 A5 400000", "16/1/1/0"},
    {"mpeg.m2v", "QMIC/24 720x486 16:9 A5 400000", ""},
    {"mpeg.mpg", "QMIC/24 720x576 4:3 A5 400000", ""},
    {"mpeg.ts", "QMIC/24 720x576 4:3 A5 400000", ""},
    {"v210.mov", "Q210/20 192x64 3:1 0 416666", "16/1/1/0"},
    {"v210.avi", "Q210/20 210x1800 7:60 0 41666", "16/1/1/0"},
    {"tagged.avi", "Q210/20 96x64 3:2 0 400000", ""},
};

struct ListedPacket {
    LONGLONG start = 0;  ///< 100-ns units from the first packet
    std::size_t size = 0;
    unsigned checksum = 0;  ///< as ffmpeg's framecrc has it
};

std::vector<ListedPacket> ReadListing(const std::string& clip) {
    std::istringstream file(ReadAll(Material(clip + ".video")));
    file >> std::setbase(0);  // the checksum begins with 0x
    std::vector<ListedPacket> packets;
    for (ListedPacket packet; file >> packet.start >> packet.size >> packet.checksum;) {
        packets.push_back(packet);
    }
    return packets;
}

class Clips : public ComTest, public ::testing::WithParamInterface<Clip> {
  protected:
    const Clip& clip = GetParam();
    const std::vector<ListedPacket> listed = ReadListing(clip.file);
    const std::string audio = ReadAll(Material(clip.file + std::string(".audio")));
    std::size_t block = 0;  ///< bytes of a frame of audio
    FootageHost host{Material(clip.file)};

    void SetUp() override {
        ASSERT_EQ(host.loaded, S_OK);
        ASSERT_FALSE(listed.empty());
        ASSERT_EQ(host.pins.size(), *clip.audio ? 2u : 1u);
        std::size_t bits = 0, channels = 0;
        std::sscanf(clip.audio, "%zu/%zu", &bits, &channels);
        block = bits / 8 * channels;
    }

    /// The offset of the first byte of audio that begins with a frame or after it.
    std::size_t AudioAt(std::size_t frame) const {
        const LONGLONG start = frame < listed.size() ? listed[frame].start : INT32_MAX;
        return std::min(audio.size(),
                        static_cast<std::size_t>((start * 48 + 9999) / 10000) * block);
    }

    /// Plays frames `from` to `to` and their audio; times count from `from`.
    void ExpectToPlay(std::size_t from, std::size_t to) const {
        SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
        const LONGLONG origin = listed[from].start;
        const auto frames = host.Play();
        ASSERT_EQ(frames.size(), to - from);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const ListedPacket* const packet = &listed[from + i];
            ASSERT_EQ(frames[i].bytes.size(), packet->size) << i;
            EXPECT_EQ(av_adler32_update(0, frames[i].bytes.data(), packet->size), packet->checksum)
                << i;
            EXPECT_EQ(frames[i].start, packet->start - origin) << i;
            if (from + i + 1 < listed.size()) {
                EXPECT_EQ(frames[i].stop, packet[1].start - origin) << i;
            }
            EXPECT_TRUE(frames[i].syncPoint && frames[i].discontinuity == (i == 0));
        }
        for (const auto& sink : host.sinks) {
            EXPECT_EQ(sink->pin.Seen().endOfStream * 10 + sink->pin.Seen().newSegment, 11);
        }
        if (block) {
            std::size_t at = AudioAt(from);
            EXPECT_TRUE(host.Received(1) == audio.substr(at, AudioAt(to) - at));
            for (const Sample& run : host.sinks[1]->pin.Samples()) {
                EXPECT_NEAR(double(*run.start), double(at / block) * 10000 / 48 - double(origin),
                            1);
                at += run.bytes.size();
            }
        }
    }
};

TEST_P(Clips, PinsDescribeTheirStreams) {
    auto types = OfferedTypes(host.pins[0]);
    ASSERT_EQ(types.size(), 2u);
    EXPECT_TRUE(types[0].formattype == FORMAT_VideoInfo2 &&
                types[1].formattype == FORMAT_VideoInfo);
    const VIDEOINFOHEADER2 first = types[0].Info2();
    char text[64];
    for (MediaType& type : types) {
        const BITMAPINFOHEADER& header = type.Header();
        EXPECT_TRUE(type.majortype == MEDIATYPE_Video &&
                    type.subtype == FourCCSubtype(header.biCompression));
        std::snprintf(text, sizeof(text), "%.4s/%d %ldx%ld %lu:%lu %lX %lld",
                      reinterpret_cast<const char*>(&header.biCompression), header.biBitCount,
                      header.biWidth, header.biHeight, first.dwPictAspectRatioX,
                      first.dwPictAspectRatioY, first.dwInterlaceFlags,
                      type.Info().AvgTimePerFrame);
        EXPECT_STREQ(text, clip.picture);
        if (header.biCompression != FourCC("QMIC")) {  // whose frames vary
            const std::size_t bytes = listed[0].size;
            EXPECT_NEAR(first.dwBitRate * 1e-7 * double(first.AvgTimePerFrame) / 8 / double(bytes),
                        1.0, 0.01);
            EXPECT_EQ(header.biSizeImage, bytes);
        }
    }
    if (block) {
        const MediaType type = OfferedTypes(host.pins[1]).at(0);
        const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(type.pbFormat);
        std::snprintf(text, sizeof(text), "%d/%d/%X/%lu", wave.wBitsPerSample, wave.nChannels,
                      wave.wFormatTag, type.cbFormat - DWORD{sizeof(wave)});
        EXPECT_STREQ(text, clip.audio);
        EXPECT_EQ(wave.nBlockAlign, block);
        EXPECT_EQ(wave.nAvgBytesPerSec, 48000 * block);
    }
}

TEST_P(Clips, PlayUnchangedFromAnyFrameToAnyOther) {
    ExpectToPlay(0, listed.size());
    const auto seeking = As<IMediaSeeking>(host.pins[0]);
    LONGLONG frames = 0;
    EXPECT_EQ(seeking->SetTimeFormat(&TIME_FORMAT_FRAME) | seeking->GetDuration(&frames), S_OK);
    EXPECT_EQ(frames, static_cast<LONGLONG>(listed.size()));
    std::mt19937 random(1);
    for (int i = 0; i < 20; ++i) {
        const std::size_t from = random() % (listed.size() - 2);
        const std::size_t to = from + 1 + random() % 2;
        EXPECT_EQ(host.Seek(static_cast<LONGLONG>(from), static_cast<LONGLONG>(to)), S_OK);
        ExpectToPlay(from, to);
    }
    EXPECT_TRUE(host.graph->Seen().empty());
}

INSTANTIATE_TEST_SUITE_P(Of, Clips, ::testing::ValuesIn(kClips), [](const auto& row) {
    std::string name = row.param.file;
    name[name.find('.')] = '_';
    return name;
});

}  // namespace
}  // namespace nyx::test
