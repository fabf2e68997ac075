#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <numeric>

#include "codecs/engine_records.h"
#include "codecs/fault_guard.h"
#include "media/dv_signals.h"
#include "tests/codecs/converted.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/engines.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

const HMODULE kDv = LoadLibraryW(EngineFolder(L"..\\open\\rkdvh.dll").c_str());
const auto kDecode = Export<DvDecodeEntry>(kDv, "_dv_decode@24");
const auto kEncode = Export<DvEncodeEntry>(kDv, "_dv_encode@24");
const HMODULE kM2v = LoadLibraryW(EngineFolder(L"..\\open\\rkm2vi01.dll").c_str());
const auto kMpeg = Export<MpegIntraEntry>(kM2v, "m2vi_decode");

/// A picture that ends at a guard; between its rows lie gaps that stay untouched.
struct Picture {
    LONG width, height, bytes, gap = 0, direction = 1;
    LONG rowBytes = width * bytes, stride = direction * (rowBytes + gap);
    GuardedMemory memory{static_cast<std::size_t>((rowBytes + gap) * height), 0xA7};

    BYTE* Row(LONG y) const { return memory.data() + (y - (stride < 0 ? height - 1 : 0)) * stride; }
    Bytes Pixels() const {
        Bytes pixels;
        for (LONG y = 0; y < height; ++y) {
            pixels.insert(pixels.end(), Row(y), Row(y) + rowBytes);
            EXPECT_EQ(std::count(Row(y) + rowBytes, Row(y) + rowBytes + gap, 0xA7), gap);
        }
        return pixels;
    }
};

/// Two threads show a frame in all layouts of standard definition; it is encoded again and comes
/// back with a mean square error below a bound for "YUY2" or RGB.
TEST(OpenDv, ShowsEveryLayoutAndEncodesItAgain) {
    const struct {
        const char* clip;
        LONG encoding, decoding, width, height, display, marks;
        double yuy2Error, rgbError;
    } kinds[] = {{"dv25_525_4x3", 0x451, 0x51, 720, 480, 2, 0, 4.1, 21.5},
                 {"dv25_625_16x9", 0x491, 0x91, 720, 576, 2, 0, 2.4, 11.6},
                 {"dv25_525_4x3", 0x52, 0x52, 720, 480, 0, 0x11, 4.1, 21.5},
                 {"dvcpro25_625", 0x92, 0x92, 720, 576, 0, 0x11, 4.1, 21.5},
                 {"dvcpro50_525", 0x60, 0x60, 720, 480, 0, 0x11, 0.07, 2.83},
                 {"dvcpro50_625", 0xA0, 0xA0, 720, 576, 0, 0x11, 0.07, 2.83},
                 {"dvcprohd_1080_60", 0x472, 0x472, 1280, 1080, 2, 0x11, 0.07, 0},
                 {"dvcprohd_1080_50", 0x4B2, 0x4B2, 1440, 1080, 2, 0x11, 0.07, 0},
                 {"dvcprohd_720_60", 0x475, 0x474, 960, 720, 2, 0x11, 0.07, 0},
                 {"dvcprohd_720_50", 0x4B5, 0x4B4, 960, 720, 2, 0x11, 0.07, 0}};
    for (const auto& kind : kinds) {
        const LONG width = kind.width, height = kind.height;
        const DvFrame frame = LoadFrame(kind.clip);
        Bytes yuy2;
        // Codes count up from studio range in standard definition; of a pair the lower is 32-bit.
        for (LONG code = 0; code <= (width > 720 ? 0 : 8); ++code) {
            SCOPED_TRACE(testing::Message() << std::hex << kind.encoding << ' ' << code);
            const LONG bytes = code == 0 ? 2 : 4 - (code + 1) % 2;
            const Picture from{width, height, bytes, 52, -1}, one{width, height, bytes};
            const auto decode = [&](const BYTE* coded, const Picture& p) {
                return kDecode(kind.decoding, coded, p.Row(0), p.stride, bytes, code);
            };
            auto other = std::async(std::launch::async, decode, frame.data(), std::cref(one));
            EXPECT_EQ(decode(frame.data(), from) | other.get(), 0);
            const Bytes shown = from.Pixels();
            EXPECT_TRUE(one.Pixels() == shown);
            yuy2 = code == 0 ? shown : yuy2;
            const DWORD colours = DWORD(code - 1) / 2 % 2 + (code > 4 ? 2 : 0);
            const DWORD rgb = bytes == 4 ? kBgra : kBgr3;
            EXPECT_TRUE(code == 0 || shown == Converted(yuy2, kYuy2, rgb, width, height, colours));
            const GuardedMemory coded(frame.size());
            EXPECT_EQ(kEncode(kind.encoding, coded.data(), from.Row(0), from.stride, bytes, code),
                      LONG(frame.size()));
            EXPECT_EQ(coded.data()[455] & 7, kind.display);
            EXPECT_EQ((coded.data()[12007] & 7) | (coded.data()[12163] & 0x70), kind.marks);
            EXPECT_EQ(decode(coded.data(), one), 0);
            const auto square = [](int x, int y) { return (x - y) * (x - y); };
            const double squares = std::inner_product(shown.begin(), shown.end(), one.Row(0), 0.0,
                                                      std::plus<>(), square);
            EXPECT_LT(squares / double(shown.size()), code == 0 ? kind.yuy2Error : kind.rgbError);
        }
    }
    // No system, two, no variant, no such code or pixel, overlapping rows: nothing is written.
    constexpr LONG kCalls[][4] = {{0x11, 2880, 2, 0}, {0xD1, 2880, 2, 0}, {0x53, 2880, 2, 0},
                                  {0x51, 2880, 4, 9}, {0x51, 2880, 3, 0}, {0x51, -1439, 2, 0}};
    for (const auto& [flags, stride, bytes, code] : kCalls) {
        EXPECT_LT(kDecode(flags, kDv, kDv, stride, bytes, code), 0);
        EXPECT_LT(kEncode(flags, kDv, kDv, stride, bytes, code), 0);
    }
}

/// A destination that ends early costs its frame, whichever thread comes upon its end.
TEST(OpenDv, LosesOnlyTheFrameThatCannotBeWritten) {
    const DvFrame frame = LoadFrame("dvcprohd_1080_50");
    const Picture whole{1440, 1080, 2}, half{1440, 540, 2};
    const auto decode = [&](const Picture& picture) {
        LONG result = -1;
        return CallEngine(&result, kDecode, 0x4B2, frame.data(), picture.Row(0), picture.stride, 2,
                          0) == S_OK &&
               result == 0;
    };
    for (int i = 0; i < 20; ++i) {
        EXPECT_FALSE(decode(half));
        EXPECT_TRUE(decode(whole));
    }
}

/// Each frame stands for itself, after whichever other one; damaged ones stay inside the picture.
TEST(OpenMpeg, DropsLinesAtTheTopAndMakesBlackOfTheRest) {
    const auto decode = [](const Bytes& frame, const Picture& p, LONG dropped, LONG codedHeight) {
        const GuardedMemory sample(frame);
        const MpegIntraCrop crop = {{}, dropped, {}};
        MpegIntraState state = {};
        MpegIntraRecord header = {};
        header.state = &state;
        header.frame = sample.data();
        header.frameLength = static_cast<DWORD>(frame.size());
        EXPECT_TRUE((kMpeg(&header) == 0 && state.codedHeight == codedHeight) || codedHeight < 0);
        MpegIntraRecord picture = {&state, header.frame, header.frameLength, p.Row(0), p.stride,
                                   2,      p.width,      p.height,           {},       &crop};
        return kMpeg(&picture);
    };
    for (const auto& [name, width, height, top] :
         {std::tuple("/progressive_420", 98, 66, 0), {"/production_625", 720, 608, 32}}) {
        std::ifstream file(MaterialFile("open" + std::string(name) + "-1.frame"), std::ios::binary);
        const Bytes frame(std::istreambuf_iterator<char>(file), {});
        const Picture whole{width, height, 2}, cropped{width, height - top, 2, 12, -1};
        EXPECT_EQ(decode(frame, whole, 0, height) | decode(frame, cropped, top, height), 0);
        EXPECT_EQ(cropped.Pixels(), Bytes(whole.Row(top), whole.Row(height)));
        for (const auto& [wider, dropped, headless] :
             {std::tuple(2, top, 0), {0, top + 1, 0}, {0, -1, 0}, {0, INT_MAX, 0}, {0, top, 30}}) {
            const Picture black{width + wider, height - top, 2};
            EXPECT_LT(decode({frame.begin() + headless, frame.end()}, black, dropped, -1), 0);
            const auto* pixels = reinterpret_cast<const WORD*>(black.Row(0));
            EXPECT_EQ(std::count(pixels, pixels + black.width * black.height, 0x8010),
                      black.width * black.height);
        }
        for (std::size_t size = frame.size(); size > 0; size -= size / 20 + 1) {
            Bytes cut(&frame[0], &frame[0] + size);
            cut[size * 7 % std::min<std::size_t>(size, 60)] ^= static_cast<BYTE>(1 << size % 8);
            decode(cut, cropped, top, -1);
        }
    }
}

}  // namespace
}  // namespace nyx::test
