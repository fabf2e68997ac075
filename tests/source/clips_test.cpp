// Every kind of file: what the pins say and deliver is what ffmpeg itself reads in it.

#include <algorithm>
#include <fstream>
#include <random>

#include "platform/fourcc.h"
#include "tests/source/footage_host.h"

#include <mmreg.h>

namespace nyx::test {
namespace {

constexpr DWORD kTopFirst = 0xA5;
constexpr DWORD kBottomFirst = 0xA1;

struct Clip {
    const char* file;
    DWORD fourcc;
    WORD bits;
    LONG width, height;
    DWORD aspectX, aspectY;
    DWORD interlace;     ///< as the container has it, else as the coding
    LONGLONG frameTime;  ///< 100-ns units, cut
    WORD soundBits;      ///< 0: silent
    WORD channels;
};

const Clip kClips[] = {
    {"dv25.avi", FourCC("QDVC"), 24, 720, 576, 4, 3, kBottomFirst, 400000, 16, 2},
    {"dv25.mov", FourCC("QDVC"), 24, 720, 480, 4, 3, kBottomFirst, 333666, 16, 2},
    {"dv25.dv", FourCC("QDVC"), 24, 720, 576, 4, 3, kBottomFirst, 400000, 16, 2},
    {"dv50.mov", FourCC("QDV5"), 24, 720, 576, 4, 3, kBottomFirst, 400000, 24, 6},
    {"dv50.mxf", FourCC("QDV5"), 24, 720, 480, 4, 3, kTopFirst, 333666, 24, 1},
    {"dvhd.mov", FourCC("QDVH"), 24, 1280, 1080, 16, 9, kTopFirst, 333666, 32, 1},
    {"dvhd.mxf", FourCC("QDVH"), 24, 960, 720, 16, 9, 0, 200000, 16, 2},
    {"d10.mxf", FourCC("QMIC"), 24, 720, 576, 4, 3, kTopFirst, 400000, 16, 2},
    {"mpeg.gxf", FourCC("QMIC"), 24, 720, 576, 4, 3, kTopFirst, 400000, 16, 1},
    {"mpeg.m2v", FourCC("QMIC"), 24, 720, 486, 4, 3, kTopFirst, 400000, 0, 0},
    {"v210.mov", FourCC("Q210"), 20, 192, 64, 3, 1, 0, 416666, 16, 1},
    {"v210.avi", FourCC("Q210"), 20, 210, 64, 105, 32, 0, 333666, 16, 1},
    {"tagged.avi", FourCC("Q210"), 20, 96, 64, 3, 2, 0, 400000, 0, 0},
};

struct ListedPacket {
    LONGLONG start;  ///< 100-ns units from the first packet
    std::size_t size;
    std::uint32_t sum;
};

/// CLIP.video: "#tb 0: NUM/DEN", then "stream, dts, pts, duration, size, 0xSUM" a packet.
std::vector<ListedPacket> ReadListing(const std::string& clip) {
    std::ifstream file(Material(clip + ".video").c_str());
    std::vector<ListedPacket> packets;
    LONGLONG num = 0, den = 0, first = 0;
    for (std::string line; std::getline(file, line);) {
        LONGLONG dts = 0, pts = 0, duration = 0;
        unsigned size = 0, sum = 0;
        if (std::sscanf(line.c_str(), "0, %lld, %lld, %lld, %u, 0x%x", &dts, &pts, &duration, &size,
                        &sum) == 5) {
            first = packets.empty() ? dts : first;
            packets.push_back({(dts - first) * num * 10000000 / den, size, sum});
        } else {
            std::sscanf(line.c_str(), "#tb 0: %lld/%lld", &num, &den);
        }
    }
    return packets;
}

std::vector<BYTE> ReadAll(const std::wstring& path) {
    std::ifstream file(path.c_str(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Adler-32 as ffmpeg's listing has it, begun at 0.
std::uint32_t Sum(const std::vector<BYTE>& bytes) {
    std::uint32_t low = 0, high = 0;
    for (const BYTE byte : bytes) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    return high << 16 | low;
}

class Clips : public ComTest, public ::testing::WithParamInterface<Clip> {
  protected:
    const Clip& clip = GetParam();
    const std::vector<ListedPacket> listed = ReadListing(clip.file);
    const std::vector<BYTE> sound =
        clip.soundBits ? ReadAll(Material(clip.file + std::string(".audio"))) : std::vector<BYTE>{};
    FootageHost host{Material(clip.file)};
    const std::size_t blockAlign = clip.soundBits / 8 * clip.channels;

    void SetUp() override {
        ASSERT_EQ(host.loaded, S_OK);
        ASSERT_FALSE(listed.empty());
        ASSERT_EQ(host.pins.size(), clip.soundBits ? 2u : 1u);
    }

    /// The sinks hold frames `from` to `to` and the sound that goes with them, timed from `from`
    /// on.
    void ExpectPlayed(std::size_t from, std::size_t to) const {
        const auto frames = host.sinks[0]->pin.Samples();
        ASSERT_EQ(frames.size(), to - from);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(frames[i].bytes.size(), listed[from + i].size);
            EXPECT_EQ(Sum(frames[i].bytes), listed[from + i].sum);
            EXPECT_EQ(frames[i].start, listed[from + i].start - listed[from].start);
            if (from + i + 1 < listed.size()) {
                EXPECT_EQ(frames[i].stop, listed[from + i + 1].start - listed[from].start);
            }
            EXPECT_TRUE(frames[i].syncPoint);
            EXPECT_EQ(frames[i].discontinuity, i == 0);
        }
        for (const auto& sink : host.sinks) {
            EXPECT_EQ(sink->pin.Seen().endOfStream, 1);
            EXPECT_EQ(sink->pin.Seen().newSegment, 1);
        }
        if (clip.soundBits) {
            // From the first frame of sound that begins by then to the last before the end.
            const auto at = [&](std::size_t frame) {
                return frame < listed.size()
                           ? static_cast<std::size_t>((listed[frame].start * 48 + 9999) / 10000)
                           : sound.size() / blockAlign;
            };
            const std::size_t end = std::min(at(to), sound.size() / blockAlign);
            const auto begin = sound.begin() + static_cast<LONG>(at(from) * blockAlign);
            EXPECT_TRUE(
                host.Bytes(1) ==
                std::vector<BYTE>(begin, sound.begin() + static_cast<LONG>(end * blockAlign)));
            LONGLONG heard = 0;
            for (const Sample& run : host.sinks[1]->pin.Samples()) {
                const LONGLONG expected = (static_cast<LONGLONG>(at(from)) + heard) * 10000 / 48;
                EXPECT_NEAR(double(*run.start), double(expected - listed[from].start), 1);
                heard += static_cast<LONGLONG>(run.bytes.size() / blockAlign);
            }
        }
    }
};

TEST_P(Clips, PinsSayWhatTheStreamsAre) {
    const auto types = OfferedTypes(host.pins[0]);
    ASSERT_EQ(types.size(), 2u);
    std::size_t largest = 0;
    for (const ListedPacket& packet : listed) {
        largest = std::max(largest, packet.size);
    }
    for (MediaType type : types) {
        EXPECT_TRUE(type.majortype == MEDIATYPE_Video);
        EXPECT_EQ(type.subtype.Data1, clip.fourcc);
        const BITMAPINFOHEADER& header = type.Header();
        EXPECT_EQ(header.biCompression, clip.fourcc);
        EXPECT_EQ(header.biBitCount, clip.bits);
        EXPECT_EQ(header.biWidth, clip.width);
        EXPECT_EQ(header.biHeight, clip.height);
        EXPECT_GE(header.biSizeImage, largest);
        EXPECT_EQ(type.Info2().AvgTimePerFrame, clip.frameTime);
    }
    MediaType first = types[0];
    EXPECT_TRUE(first.formattype == FORMAT_VideoInfo2 && types[1].formattype == FORMAT_VideoInfo);
    EXPECT_EQ(first.Info2().dwInterlaceFlags, clip.interlace);
    EXPECT_EQ(first.Info2().dwPictAspectRatioX, clip.aspectX);
    EXPECT_EQ(first.Info2().dwPictAspectRatioY, clip.aspectY);
    if (clip.soundBits) {
        const MediaType type = OfferedTypes(host.pins[1]).at(0);
        const auto& wave = *reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(type.pbFormat);
        const bool extensible = clip.soundBits > 16 || clip.channels > 2;
        EXPECT_EQ(type.cbFormat, extensible ? sizeof(WAVEFORMATEXTENSIBLE) : sizeof(WAVEFORMATEX));
        EXPECT_EQ(wave.Format.wFormatTag, extensible ? WAVE_FORMAT_EXTENSIBLE : WAVE_FORMAT_PCM);
        EXPECT_EQ(wave.Format.wBitsPerSample, clip.soundBits);
        EXPECT_EQ(wave.Format.nChannels, clip.channels);
        EXPECT_EQ(wave.Format.nBlockAlign, blockAlign);
        EXPECT_EQ(wave.Format.nSamplesPerSec, 48000u);
        EXPECT_EQ(wave.Format.nAvgBytesPerSec, 48000u * blockAlign);
    }
}

TEST_P(Clips, PlayEveryPacketUnchangedAtItsTime) {
    for (int round = 0; round < 2; ++round) {  // and again from the start
        host.Play();
        ExpectPlayed(0, listed.size());
    }
    EXPECT_EQ(host.graph->Seen().size(), 0u);
}

TEST_P(Clips, SeekToAnyFrameAndStopBeforeAnyOther) {
    const auto seeking = As<IMediaSeeking>(host.pins[0]);
    LONGLONG frames = 0;
    ASSERT_EQ(seeking->SetTimeFormat(&TIME_FORMAT_FRAME), S_OK);
    EXPECT_EQ(seeking->GetDuration(&frames), S_OK);
    EXPECT_EQ(frames, static_cast<LONGLONG>(listed.size()));
    std::mt19937 random(1);
    for (int i = 0; i < 20; ++i) {
        const std::size_t from = random() % (listed.size() - 2);
        const std::size_t to = from + 1 + random() % 2;
        SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
        EXPECT_EQ(host.Seek(static_cast<LONGLONG>(from), static_cast<LONGLONG>(to)), S_OK);
        host.Play();
        ExpectPlayed(from, to);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Clips, ::testing::ValuesIn(kClips), [](const auto& row) {
    std::string name = row.param.file;
    name[name.find('.')] = '_';
    return name;
});

}  // namespace
}  // namespace nyx::test
