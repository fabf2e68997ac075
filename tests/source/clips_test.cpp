// Every kind of file: what the pins say and deliver is what ffmpeg itself reads in it.

#include <random>

#include "platform/fourcc.h"
#include "tests/source/footage_host.h"

#include <mmreg.h>

namespace nyx::test {
namespace {

struct Clip {
    const char* file;
    const char* picture;  ///< FourCC/bits size aspect interlace-flags frame-time
    std::size_t soundBits, channels;
};
const Clip kClips[] = {
    {"dv25.avi", "QDVC/24 720x576 16:9 A1 400000", 16, 2},
    {"dv25.mov", "QDVC/24 720x480 4:3 A1 333666", 16, 2},
    {"dv25.dv", "QDVC/24 720x576 4:3 A1 400000", 16, 2},
    {"type1.avi", "QDVC/24 720x576 4:3 A1 400000", 16, 2},
    {"dv50.mov", "QDV5/24 720x576 4:3 A1 400000", 24, 6},
    {"dv50.mxf", "QDV5/24 720x480 4:3 A5 333666", 24, 1},  // the flags as the container has them
    {"atom.mxf", "QDV5/24 720x576 4:3 A1 400000", 0, 0},
    {"dvhd.mov", "QDVH/24 1280x1080 16:9 A5 333666", 32, 1},
    {"dvhd.mxf", "QDVH/24 960x720 16:9 0 200000", 16, 2},
    {"d10.mxf", "QMIC/24 720x576 4:3 A5 400000", 16, 2},
    {"mpeg.gxf", "QMIC/24 720x576 4:3 A5 400000", 16, 1},
    {"mpeg.mxf", "QMIC/24 720x576 4:3 A5 400000", 16, 1},
    {"mpeg.m2v", "QMIC/24 720x486 16:9 A5 400000", 0, 0},
    {"v210.mov", "Q210/20 192x64 3:1 0 416666", 16, 1},
    {"v210.avi", "Q210/20 210x1700 21:170 0 333666", 16, 1},
    {"tagged.avi", "Q210/20 96x64 3:2 0 400000", 0, 0},
};

struct ListedPacket {
    LONGLONG start;  ///< 100-ns units from the first packet
    std::string bytes;
};

std::vector<ListedPacket> ReadListing(const std::string& clip) {
    std::istringstream file(ReadAll(Material(clip + ".video")));
    std::istringstream bytes(ReadAll(Material(clip + ".bytes")));
    std::vector<ListedPacket> packets;
    std::size_t size = 0;
    for (LONGLONG start = 0; file >> start >> size;) {
        packets.push_back({start, std::string(size, '\0')});
        bytes.read(packets.back().bytes.data(), static_cast<std::streamsize>(size));
    }
    return packets;
}

class Clips : public ComTest, public ::testing::WithParamInterface<Clip> {
  protected:
    const Clip& clip = GetParam();
    const std::vector<ListedPacket> listed = ReadListing(clip.file);
    const std::string sound = ReadAll(Material(clip.file + std::string(".audio")));
    const std::size_t block = clip.soundBits / 8 * clip.channels;
    FootageHost host{Material(clip.file)};

    void SetUp() override {
        ASSERT_EQ(host.loaded, S_OK);
        ASSERT_FALSE(listed.empty());
        ASSERT_EQ(host.pins.size(), block ? 2u : 1u);
    }

    /// The first frame of sound that begins with a frame or after it.
    std::size_t SoundAt(std::size_t frame) const {
        const std::size_t all = sound.size() / block;
        return frame == listed.size()
                   ? all
                   : std::min(all,
                              static_cast<std::size_t>((listed[frame].start * 48 + 9999) / 10000));
    }

    /// Plays frames `from` to `to` and the sound that goes with them, timed from `from` on.
    void ExpectToPlay(std::size_t from, std::size_t to) const {
        SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
        const LONGLONG origin = listed[from].start;
        const auto frames = host.Play();
        ASSERT_EQ(frames.size(), to - from);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const Sample& frame = frames[i];
            EXPECT_TRUE(std::string(frame.bytes.begin(), frame.bytes.end()) ==
                        listed[from + i].bytes)
                << i;
            EXPECT_EQ(frame.start, listed[from + i].start - origin) << i;
            if (from + i + 1 < listed.size()) {
                EXPECT_EQ(frame.stop, listed[from + i + 1].start - origin) << i;
            }
            EXPECT_TRUE(frame.syncPoint && frame.discontinuity == (i == 0));
        }
        for (const auto& sink : host.sinks) {
            EXPECT_EQ(sink->pin.Seen().endOfStream * 10 + sink->pin.Seen().newSegment, 11);
        }
        if (block) {
            std::string heard;
            for (const Sample& run : host.sinks[1]->pin.Samples()) {
                const std::size_t at = SoundAt(from) + heard.size() / block;
                EXPECT_NEAR(double(*run.start), double(at) * 10000 / 48 - double(origin), 1);
                heard.append(run.bytes.begin(), run.bytes.end());
            }
            const std::size_t length = SoundAt(to) - SoundAt(from);
            EXPECT_TRUE(heard == sound.substr(SoundAt(from) * block, length * block));
        }
    }
};

TEST_P(Clips, PinsSayWhatTheStreamsAre) {
    auto types = OfferedTypes(host.pins[0]);
    ASSERT_EQ(types.size(), 2u);
    const VIDEOINFOHEADER2 first = types[0].Info2();
    for (MediaType& type : types) {
        const BITMAPINFOHEADER& header = type.Header();
        EXPECT_TRUE(type.majortype == MEDIATYPE_Video &&
                    type.subtype.Data1 == header.biCompression);
        char text[64];
        std::snprintf(text, sizeof(text), "%.4s/%d %ldx%ld %lu:%lu %lX %lld",
                      reinterpret_cast<const char*>(&header.biCompression), header.biBitCount,
                      header.biWidth, header.biHeight, first.dwPictAspectRatioX,
                      first.dwPictAspectRatioY, first.dwInterlaceFlags,
                      type.Info().AvgTimePerFrame);
        EXPECT_STREQ(text, clip.picture);
        if (header.biCompression != FourCC("QMIC")) {  // whose frames vary
            const double bits =
                8e7 * double(listed[0].bytes.size()) / double(first.AvgTimePerFrame);
            EXPECT_NEAR(first.dwBitRate / bits, 1.0, 0.01);
            EXPECT_EQ(header.biSizeImage, listed[0].bytes.size());
        }
    }
    EXPECT_TRUE(types[0].formattype == FORMAT_VideoInfo2 &&
                types[1].formattype == FORMAT_VideoInfo);
    if (block) {
        const MediaType type = OfferedTypes(host.pins[1]).at(0);
        const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(type.pbFormat);
        const bool extensible = clip.soundBits > 16 || clip.channels > 2;
        EXPECT_EQ(type.cbFormat, extensible ? sizeof(WAVEFORMATEXTENSIBLE) : sizeof(WAVEFORMATEX));
        EXPECT_EQ(wave.wFormatTag, extensible ? WAVE_FORMAT_EXTENSIBLE : WAVE_FORMAT_PCM);
        EXPECT_EQ(wave.wBitsPerSample, clip.soundBits);
        EXPECT_EQ(wave.nBlockAlign, block);
        EXPECT_EQ(wave.nAvgBytesPerSec, 48000 * block);
    }
}

TEST_P(Clips, PlayUnchangedFromAnyFrameToAnyOther) {
    ExpectToPlay(0, listed.size());
    const auto seeking = As<IMediaSeeking>(host.pins[0]);
    LONGLONG frames = 0;
    EXPECT_EQ(seeking->SetTimeFormat(&TIME_FORMAT_FRAME), S_OK);
    EXPECT_EQ(seeking->GetDuration(&frames), S_OK);
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

TEST_P(Clips, AreDecodedAsTheSameFramesFromMemory) {
    const EngineSearch open(L"..\\open");
    const LoadedModule codecs(ProgramFolder() + L"nyxcodecs.dll");
    const CatalogueRow& row = *std::find_if(
        Catalogue().begin(), Catalogue().end(),
        [&](const CatalogueRow& one) { return std::string(clip.picture, 4) == one.fourcc; });
    Stream stream;
    std::sscanf(clip.picture, "%*s %ldx%ld", &stream.width, &stream.height);
    const MediaType type = row.InputType(stream);
    const auto decoder = codecs.Create(row.clsid);
    const auto memory = Make<End>(PINDIR_OUTPUT);
    EndPin& sink = host.sinks[0]->pin;
    ComPtr<IPin> in, out;
    EXPECT_EQ(decoder->FindPin(L"In", &in) | decoder->FindPin(L"Out", &out), S_OK);
    host.pins[0]->Disconnect(), sink.Disconnect();
    std::vector<Sample> shown[2];
    for (std::vector<Sample>& pictures : shown) {
        const bool played = &pictures == shown;
        IPin* const from = played ? host.pins[0].Get() : &memory->pin;
        ASSERT_EQ(from->Connect(in.Get(), played ? nullptr : &type), S_OK);
        ASSERT_EQ(out->Connect(&sink, nullptr), S_OK);
        EXPECT_EQ(decoder->Pause(), S_OK);
        sink.Forget();
        if (played) {
            host.Play();
        }
        for (std::size_t i = 0; !played && i < listed.size(); ++i) {
            const std::string& bytes = listed[i].bytes;
            EXPECT_EQ(
                As<IMemInputPin>(in)->Receive(MakeSample({{bytes.begin(), bytes.end()}}).Get()),
                S_OK);
        }
        pictures = sink.Samples();
        EXPECT_EQ(decoder->Stop(), S_OK);
        out->Disconnect(), sink.Disconnect(), in->Disconnect(), from->Disconnect();
    }
    ASSERT_EQ(shown[0].size(), listed.size());
    ASSERT_EQ(shown[1].size(), listed.size());
    for (std::size_t i = 0; i < listed.size(); ++i) {
        EXPECT_TRUE(shown[0][i].bytes == shown[1][i].bytes) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Clips, ::testing::ValuesIn(kClips), [](const auto& row) {
    std::string name = row.param.file;
    name[name.find('.')] = '_';
    return name;
});

}  // namespace
}  // namespace nyx::test
