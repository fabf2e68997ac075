/// The open engines as the module's filters load, use and free them.

#include <fstream>
#include <random>

#include "tests/dv/dv_frames.h"
#include "tests/support/frames.h"
#include "tests/support/leaks.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

/// A signal, as the frames that its filter decodes. nyxhost's tests compare the pictures of each
/// with ffmpeg's.
struct Signal {
    char applicationId;  ///< a digit; 0: not DV
    const char *filter, *frame;
    LONG width, height;
};
constexpr Signal kSignals[] = {
    {'0', "Dv25Decoder", "dv25_525_4x3", 720, 480},
    {'1', "Dv25Decoder", "dv25_525_4x3", 720, 480},
    {'0', "Dv25Decoder", "dv25_625_4x3", 720, 576},
    {'1', "Dv25Decoder", "dvcpro25_625", 720, 576},
    {'1', "Dv50Decoder", "dvcpro50_525", 720, 480},
    {'1', "Dv50Decoder", "dvcpro50_625", 720, 576},
    {'1', "DvHdDecoder", "dvcprohd_1080_60", 1280, 1080},
    {'1', "DvHdDecoder", "dvcprohd_1080_50", 1440, 1080},
    {'1', "DvHdDecoder", "dvcprohd_720_60", 960, 720},
    {'1', "DvHdDecoder", "dvcprohd_720_50", 960, 720},
    {0, "MpegIntraDecoder", "progressive_420", 98, 66},
    {0, "MpegIntraDecoder", "production_625", 720, 576},
    {0, "MpegIntraDecoder", "interlaced_420", 98, 66},
};

/// The signal's frame as a camera's, then copies in which the first of DV's marks, which later ones
/// repeat, are damaged. All but the first of these have bits damaged behind the headers as well.
std::vector<Bytes> FramesOf(const Signal& signal) {
    constexpr std::size_t kHeaders = 200, kBits = 9;
    std::ifstream file(MaterialFile("open/" + std::string(signal.frame) + "-1.frame"),
                       std::ios::binary);
    DvFrame frame({std::istreambuf_iterator<char>(file), {}});
    if (signal.applicationId) {
        frame.SetApplicationId(std::string(7, signal.applicationId));
    }
    std::vector<Bytes> frames = {{frame.data(), frame.data() + frame.size()}};
    if (signal.applicationId) {
        frame.Put(3, {BYTE(frame[3] ^ 0x80), BYTE(frame[4] ^ 0x01)});
        frame.Put(448, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    }
    frames.resize(17, {frame.data(), frame.data() + frame.size()});
    std::mt19937 random;
    for (std::size_t bit = 2 * kBits; bit < kBits * frames.size(); ++bit) {
        Bytes& bytes = frames[bit / kBits];
        bytes[kHeaders + random() % (bytes.size() - kHeaders)] ^= BYTE(1 << random() % 8);
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

using OpenFilters = ComTest;

TEST_F(OpenFilters, ShowTheSameWithAnyNumberOfThreadsAndWhateverIsDamaged) {
    for (const Signal& signal : kSignals) {
        const auto frames = FramesOf(signal);
        SetEnvironmentVariableW(L"NYX_OPEN_ENGINES", L"threads=1 exact");
        const auto alone = Decoded(signal, frames);
        SetEnvironmentVariableW(L"NYX_OPEN_ENGINES", L"exact");
        const auto together = Decoded(signal, frames);
        ASSERT_EQ(together.size(), alone.size());
        ASSERT_GT(alone.size(), 1u);
        EXPECT_TRUE(alone[0].bytes == alone[1].bytes) << signal.frame << ": the repeated marks";
        for (std::size_t i = 0; i < alone.size(); ++i) {
            EXPECT_TRUE(together[i].bytes == alone[i].bytes) << signal.frame << ' ' << i;
        }
    }
}

TEST_F(OpenFilters, BringTheirEnginesAndLeaveNothingOfThem) {
    ExpectNothingKept([] {
        for (const Signal& signal : {kSignals[7], kSignals[11]}) {
            EXPECT_FALSE(Decoded(signal, {FramesOf(signal)[0]}).empty());
        }
    });
}

}  // namespace
}  // namespace nyx::test
