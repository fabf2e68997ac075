/// The open engines as the module's filters load, use and free them.

#include <cmath>
#include <fstream>
#include <random>

#include "tests/dv/dv_frames.h"
#include "tests/support/frames.h"
#include "tests/support/leaks.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

/// A signal and where its chroma lies.
struct Signal {
    char applicationId;  ///< a digit; 0: not DV
    const char *filter, *frame;
    LONG width, height;
    int across, down;               ///< pixels and lines that share a sample
    int fields = 1;                 ///< that have chroma rows of their own
    double cb[2] = {}, cr[2] = {};  ///< by field: its first row is so many lines below its top
    LONG linesAbove = 0;            ///< that are coded but not shown
};

// DV by IEC 61834-2, SMPTE 314M and 370M: Cr of 625-line 4:2:0 lies on a field's even lines, Cb on
// the odd ones. MPEG-2 by figures 6-1 and 6-2 of ISO/IEC 13818-2.
constexpr Signal kSignals[] = {
    {'0', "Dv25Decoder", "dv25_525_4x3", 720, 480, 4, 1},
    {'1', "Dv25Decoder", "dv25_525_4x3", 720, 480, 4, 1},
    {'0', "Dv25Decoder", "dv25_625_4x3", 720, 576, 2, 2, 2, {1, 1}, {0, 0}},
    {'1', "Dv25Decoder", "dvcpro25_625", 720, 576, 4, 1},
    {'1', "Dv50Decoder", "dvcpro50_525", 720, 480, 2, 1},
    {'1', "Dv50Decoder", "dvcpro50_625", 720, 576, 2, 1},
    {'1', "DvHdDecoder", "dvcprohd_1080_60", 1280, 1080, 2, 1},
    {'1', "DvHdDecoder", "dvcprohd_1080_50", 1440, 1080, 2, 1},
    {'1', "DvHdDecoder", "dvcprohd_720_60", 960, 720, 2, 1},
    {'1', "DvHdDecoder", "dvcprohd_720_50", 960, 720, 2, 1},
    {0, "MpegIntraDecoder", "progressive_420", 98, 66, 2, 2, 1, {.5, .5}, {.5, .5}},
    {0, "MpegIntraDecoder", "production_625", 720, 576, 2, 1, 1, {}, {}, 32},
    {0, "MpegIntraDecoder", "interlaced_420", 98, 66, 2, 2, 2, {.25, .75}, {.25, .75}},
};

Bytes Read(const std::string& name) {
    std::ifstream file(NYX_OPEN_FRAMES "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The frame as a camera's; in DV the first of the marks, which later ones repeat, are damaged.
Bytes CodedFrame(const Signal& signal) {
    DvFrame frame(Read(signal.frame + std::string("-1.frame")));
    if (signal.applicationId) {
        frame.SetApplicationId(std::string(7, signal.applicationId));
        frame.Put(3, {BYTE(frame[3] ^ 0x80), BYTE(frame[4] ^ 0x01)});
        frame.Put(448, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    }
    return {frame.data(), frame.data() + frame.size()};
}

/// "YUY2" of the planes that ffmpeg decodes. A sample between those of a plane lies on the straight
/// line through its neighbours; one beyond the outermost equals it.
Bytes Shown(const Signal& signal) {
    const Bytes planes = Read(signal.frame + std::string(".planes"));
    const LONG luma = signal.width * (signal.height + signal.linesAbove);
    const LONG columns = signal.width / signal.across, chroma = luma / signal.across / signal.down;
    EXPECT_EQ(LONG(planes.size()), luma + 2 * chroma);
    Bytes picture;
    for (LONG i = 0; i < 2 * signal.width * signal.height; ++i) {
        const LONG x = i / 2 % signal.width, y = i / 2 / signal.width + signal.linesAbove;
        const bool isCb = x % 2 == 0;
        const int field = y % signal.fields;
        const BYTE* plane = &planes[std::size_t(isCb ? luma : luma + chroma)];
        const auto at = [&](LONG column, LONG row) {
            const LONG last = (chroma / columns - 1 - field) / signal.fields;
            row = std::clamp(row, 0L, last) * signal.fields + field;
            return plane[row * columns + std::min(column, columns - 1)];
        };
        const double across = double(x / 2 * 2) / signal.across;
        const double down =
            (y / signal.fields - (isCb ? signal.cb : signal.cr)[field]) / signal.down;
        const LONG left = LONG(across), above = LONG(std::floor(down));
        const auto between = [](double a, double b, double place) { return a + (b - a) * place; };
        const auto inRow = [&](LONG row) {
            return between(at(left, row), at(left + 1, row), across - left);
        };
        const double sample = between(inRow(above), inRow(above + 1), down - above);
        picture.push_back(i % 2 ? BYTE(sample + .5) : planes[std::size_t(y * signal.width + x)]);
    }
    return picture;
}

/// Copies of a frame; all but the first have bits damaged behind the headers.
std::vector<Bytes> DamagedFrames(const Bytes& frame) {
    constexpr std::size_t kHeaders = 200, kBits = 9;
    std::vector<Bytes> frames(16, frame);
    std::mt19937 random;
    for (std::size_t bit = kBits; bit < kBits * frames.size(); ++bit) {
        Bytes& bytes = frames[bit / kBits];
        bytes[kHeaders + random() % (frame.size() - kHeaders)] ^= BYTE(1 << random() % 8);
    }
    return frames;
}

/// What its filter makes of frames, once it is freed. A thread of the system's pool may keep the
/// engine for a moment.
std::vector<Sample> Decoded(const Signal& signal, const std::vector<Bytes>& frames) {
    const EngineSearch engines(L"..\\open");
    std::vector<Sample> pictures;
    {
        Rig rig(Row(signal.filter), {signal.width, signal.height});
        rig.Start();
        for (const Bytes& frame : frames) {
            rig.Push({frame});
        }
        pictures = rig.sink.Samples();
    }
    while (IsLoaded(Row(signal.filter).engine)) {
        Sleep(1);
    }
    return pictures;
}

Bytes Decoded(const Signal& signal) {
    const auto pictures = Decoded(signal, {CodedFrame(signal)});
    return pictures.size() == 1 ? pictures[0].bytes : Bytes();
}

using OpenFilters = ComTest;

TEST_F(OpenFilters, ShowEverySignalAsFfmpegDoes) {
    for (const Signal& signal : kSignals) {
        EXPECT_TRUE(Decoded(signal) == Shown(signal))
            << signal.frame << ' ' << int(signal.applicationId);
    }
}

TEST_F(OpenFilters, ShowTheSameWithAnyNumberOfThreadsAndWhateverIsDamaged) {
    for (const Signal& signal : kSignals) {
        const auto frames = DamagedFrames(CodedFrame(signal));
        SetEnvironmentVariableW(L"NYX_OPEN_ENGINES", L"threads=1 exact");
        const auto alone = Decoded(signal, frames);
        SetEnvironmentVariableW(L"NYX_OPEN_ENGINES", L"exact");
        const auto together = Decoded(signal, frames);
        ASSERT_EQ(together.size(), alone.size());
        EXPECT_FALSE(alone.empty());
        for (std::size_t i = 0; i < alone.size(); ++i) {
            EXPECT_TRUE(together[i].bytes == alone[i].bytes) << signal.frame << ' ' << i;
        }
    }
}

TEST_F(OpenFilters, BringTheirEnginesAndLeaveNothingOfThem) {
    ExpectNothingKept([] {
        for (const Signal& signal : {kSignals[7], kSignals[11]}) {
            EXPECT_FALSE(Decoded(signal).empty());
        }
    });
}

}  // namespace
}  // namespace nyx::test
