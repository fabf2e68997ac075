#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <future>
#include <iterator>
#include <numeric>

#include "codecs/engine_records.h"
#include "dv/dif_parser.h"
#include "dv/dv_engine.h"
#include "tests/codecs/converted.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/engines.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

/// An entry of an engine, which stays loaded.
template <class Entry>
Entry Open(const wchar_t* library, const char* entry) {
    const std::wstring path = EngineFolder(L"..\\open\\") + library;
    return reinterpret_cast<Entry>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(path.c_str()), entry)));
}
const auto kDecode = Open<DvDecodeEntry>(L"rkdvh.dll", "_dv_decode@24");
const auto kEncode = Open<DvEncodeEntry>(L"rkdvh.dll", "_dv_encode@24");
const auto kMpeg = Open<MpegIntraEntry>(L"rkm2vi01.dll", "m2vi_decode");

Bytes Load(const std::string& name) {
    std::ifstream file(NYX_OPEN_FRAMES "/" + name, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

/// A picture that ends at a guard, with gaps of known bytes between its rows.
struct Picture {
    static constexpr BYTE kUntouched = 0xA7;
    LONG width, height, bytes, gap = 0, direction = 1;
    LONG rowBytes = width * bytes, stride = direction * (rowBytes + gap);
    GuardedMemory memory{static_cast<std::size_t>((rowBytes + gap) * height), kUntouched};

    BYTE* Row(LONG y) const { return memory.data() + (y - (stride < 0 ? height - 1 : 0)) * stride; }

    /// The rows from the top; fails when a gap was written.
    Bytes Pixels() const {
        Bytes pixels;
        for (LONG y = 0; y < height; ++y) {
            pixels.insert(pixels.end(), Row(y), Row(y) + rowBytes);
            EXPECT_EQ(std::count(Row(y) + rowBytes, Row(y) + rowBytes + gap, kUntouched), gap);
        }
        return pixels;
    }
};

/// Where chroma lies: every `perRow` pixels and on every line, or in rows for two lines of a field,
/// which lie `cb` and `cr` lines of that field below its first one.
struct Chroma {
    int perRow, fields;
    double cb[2], cr[2];
};
constexpr Chroma k422 = {2, 0, {}, {}}, k411 = {4, 0, {}, {}}, kDv420 = {2, 2, {1, 1}, {0, 0}};
constexpr Chroma kMpeg420 = {2, 1, {0.5}, {0.5}};
constexpr Chroma kMpeg420Interlaced = {2, 2, {0.25, 0.75}, {0.25, 0.75}};

/// Luma of "YUY2" to the last bit, chroma by linear interpolation between the samples around its
/// place. Of many lines every seventh counts.
void ExpectPicture(const Picture& picture, const std::string& name, const Chroma& c) {
    const Bytes yuy2 = picture.Pixels(), planes = Load(name + ".planes");
    ASSERT_FALSE(planes.empty()) << name;
    const int width = picture.width, height = picture.height;
    const int chromaWidth = width / c.perRow, chromaHeight = c.fields == 0 ? height : height / 2;
    const auto expected = [&](int plane, int y, int x) {
        const int fields = std::max(c.fields, 1), field = y % fields;
        const int rows = (chromaHeight - field + fields - 1) / fields;
        const double offset = (plane == 0 ? c.cb : c.cr)[field], column = double{1} * x / c.perRow;
        const double row = c.fields == 0 ? y : (y / fields - offset) / 2;
        double sum = 0;
        for (const int tap : {0, 1, 2, 3}) {
            const double right = std::floor(column) + tap % 2, below = std::floor(row) + tap / 2;
            const double line = std::clamp(below, 0.0, rows - 1.0) * fields + field;
            const int at = width * height + plane * chromaWidth * chromaHeight +
                           chromaWidth * static_cast<int>(line) +
                           static_cast<int>(std::min(right, chromaWidth - 1.0));
            sum += (1 - std::abs(column - right)) * (1 - std::abs(row - below)) * planes.data()[at];
        }
        return sum;
    };
    for (int y = 0; y < height; y += (height > 608 ? 7 : 1)) {
        for (int x = 0; x < width; ++x) {
            const int at = y * width + x;
            ASSERT_EQ(yuy2.data()[2 * at], planes.data()[at]) << at;
            ASSERT_NEAR(yuy2.data()[2 * at + 1], expected(x % 2, y, x - x % 2), 0.5) << at;
        }
    }
}

/// What is encoded again comes back with so many dB in "YUY2" and in RGB.
struct DvKind {
    const char* clip;
    LONG encodeFlags, decodeFlags, width, height;
    const Chroma& chroma;
    double yuy2Db, rgbDb;
    LONG formatCode, aspectX;
};
const DvKind kDvKinds[] = {
    {"dv25_525_4x3", 0x451, 0x51, 720, 480, k411, 42, 34.8, kFormatDv25, 864},
    {"dv25_525_4x3", 0x52, 0x52, 720, 480, k411, 42, 34.8, kFormatDvcPro25, 648},
    {"dv25_625_16x9", 0x491, 0x91, 720, 576, kDv420, 44.4, 37.5, kFormatDv25, 1024},
    {"dvcpro25_625", 0x92, 0x92, 720, 576, k411, 42, 34.8, kFormatDvcPro25, 768},
    {"dvcpro50_525", 0x60, 0x60, 720, 480, k422, 60, 43.6, kFormatDvcPro50, 648},
    {"dvcpro50_625", 0x4A0, 0xA0, 720, 576, k422, 60, 43.6, kFormatDvcPro50, 1024},
    {"dvcprohd_1080_60", 0x472, 0x472, 1280, 1080, k422, 60, 0, kFormatDvcProHd1080, 1920},
    {"dvcprohd_1080_50", 0x4B2, 0x4B2, 1440, 1080, k422, 60, 0, kFormatDvcProHd1080, 1920},
    {"dvcprohd_720_60", 0x475, 0x474, 960, 720, k422, 60, 0, kFormatDvcProHd720, 1280},
    {"dvcprohd_720_50", 0x4B5, 0x4B4, 960, 720, k422, 60, 0, kFormatDvcProHd720, 1280},
};

LONG DecodeDv(LONG flags, const BYTE* frame, const Picture& picture, LONG code = 0) {
    return kDecode(flags, frame, picture.Row(0), picture.stride, picture.bytes, code);
}

double Psnr(const Bytes& a, const Bytes& b) {
    const auto square = [](int x, int y) { return (x - y) * (x - y); };
    const double squares =
        std::inner_product(a.begin(), a.end(), b.begin(), 1e-9, std::plus<>(), square);
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / squares);
}

/// What is shown is encoded again, of standard definition in all layouts, and marked as what it is.
TEST(OpenDv, ShowsWhatFfmpegShowsAndEncodesItAgain) {
    for (const DvKind& kind : kDvKinds) {
        SCOPED_TRACE(testing::Message() << std::hex << kind.encodeFlags);
        DvFrame frame = LoadFrame(kind.clip);
        const Picture whole{kind.width, kind.height, 2};
        ASSERT_EQ(DecodeDv(kind.decodeFlags, frame.data(), whole), 0);
        ExpectPicture(whole, kind.clip, kind.chroma);
        // The caller found the video source pack elsewhere, and the first header block is damaged.
        frame[3] ^= 0x80;
        frame[4] ^= 0x01;
        frame.Put(VauxPackByte(39), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
        // Codes count up from studio range in standard definition; of a pair the lower is 32-bit.
        for (LONG code = 0; code <= (kind.width > 720 ? 0 : 8); ++code) {
            const LONG bytes = code == 0 ? 2 : 4 - (code + 1) % 2;
            const Picture source{kind.width, kind.height, bytes, 52, -1};
            ASSERT_EQ(DecodeDv(kind.decodeFlags, frame.data(), source, code), 0);
            const auto colours = static_cast<DWORD>((code - 1) / 2 % 2 + (code > 4 ? 2 : 0));
            const DWORD layout = bytes == 4 ? kBgra : kBgr3;
            EXPECT_TRUE(code == 0 ? source.Pixels() == whole.Pixels()
                                  : source.Pixels() == Converted(whole.Pixels(), kYuy2, layout,
                                                                 kind.width, kind.height, colours))
                << code;
            const GuardedMemory coded(frame.size());
            ASSERT_EQ(
                kEncode(kind.encodeFlags, coded.data(), source.Row(0), source.stride, bytes, code),
                static_cast<LONG>(frame.size()));
            CLvtDifParser parser;
            EXPECT_EQ(parser.Parse(coded.data(), coded.size()), 1);
            EXPECT_EQ(std::make_pair(parser.GetFormatCode(), parser.GetPixelAspect().first),
                      std::make_pair(kind.formatCode, kind.aspectX));
            for (const BYTE* at = coded.data(); at < coded.data() + coded.size(); at += 12000) {
                const int marks[] = {at[7] & 7, at[83] >> 4 & 7, at[163] >> 4 & 7};
                ASSERT_EQ(std::count(marks, marks + 3, kind.formatCode != kFormatDv25), 3);
            }
            // Two threads at once.
            const Picture one{kind.width, kind.height, bytes}, two{kind.width, kind.height, bytes};
            auto other = std::async(std::launch::async, DecodeDv, kind.decodeFlags, coded.data(),
                                    std::cref(two), code);
            ASSERT_EQ(DecodeDv(kind.decodeFlags, coded.data(), one, code), 0);
            EXPECT_TRUE(other.get() == 0 && one.Pixels() == two.Pixels());
            EXPECT_GT(Psnr(source.Pixels(), one.Pixels()), code == 0 ? kind.yuy2Db : kind.rgbDb);
        }
    }
}

/// No system, two, no variant, codes that there are not, another pixel size, rows that overlap.
TEST(OpenDv, RefusesCallsThatMakeNoSense) {
    constexpr LONG kCalls[][4] = {{0x11, 2880, 2, 0}, {0xD1, 2880, 2, 0},  {0x53, 2880, 2, 0},
                                  {0x51, 2880, 4, 9}, {0x51, 2880, 2, -1}, {0x51, 2880, 3, 0},
                                  {0x51, 1439, 2, 0}, {0x51, -1439, 2, 0}};
    DvFrame frame = DvFrame::Blank(120000);
    const Picture picture{720, 480, 4};
    BYTE *coded = &frame[0], *pixels = picture.Row(0);
    for (const auto& [flags, stride, bytes, code] : kCalls) {
        EXPECT_LT(kDecode(flags, coded, pixels, stride, bytes, code), 0) << flags << ' ' << stride;
        EXPECT_LT(kEncode(flags, coded, pixels, stride, bytes, code), 0) << flags << ' ' << stride;
    }
    EXPECT_EQ(picture.Pixels(), Bytes(picture.memory.size(), Picture::kUntouched));
}

/// Asks for the header, then for the picture; the result, and the coded height by the header.
std::pair<LONG, LONG> DecodeMpeg(const Bytes& frame, const Picture& p, LONG dropped = 0) {
    const GuardedMemory guarded(frame);
    const auto size = static_cast<DWORD>(frame.size());
    MpegIntraState state = {};
    MpegIntraHeaderRecord header = {&state, guarded.data(), size, {}};
    kMpeg(&header);
    const MpegIntraCrop crop = {{}, dropped, {}};
    const MpegIntraCrop* used = dropped != 0 ? &crop : nullptr;
    MpegIntraPictureRecord record = {&state, guarded.data(), size,     p.Row(0), p.stride,
                                     2,      p.width,        p.height, {},       used};
    return {kMpeg(&record), state.codedHeight};
}

/// Each frame stands for itself, after whichever other one; without its header it is none.
TEST(OpenMpeg, ShowsWhatFfmpegShowsWithoutTheLinesAtTheTop) {
    const struct {
        const char* name;
        LONG width, codedHeight, dropped;
        const Chroma& chroma;
    } kinds[] = {{"small_420", 98, 66, 0, kMpeg420},
                 {"small_420_interlaced", 98, 66, 0, kMpeg420Interlaced},
                 {"production_625", 720, 608, 32, k422}};
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.name);
        Bytes frame = Load(kind.name + std::string(".m2v"));
        const Picture whole{kind.width, kind.codedHeight, 2};
        EXPECT_EQ(DecodeMpeg(frame, whole).second, kind.codedHeight);
        ExpectPicture(whole, kind.name, kind.chroma);
        const Bytes all = whole.Pixels();
        EXPECT_EQ(DecodeMpeg({&frame[0], &frame[6]}, whole).second, 0);
        const Picture cropped{kind.width, kind.codedHeight - kind.dropped, 2, 12, -1};
        ASSERT_EQ(DecodeMpeg(frame, cropped, kind.dropped).first, 0);
        EXPECT_EQ(cropped.Pixels(), Bytes(all.begin() + kind.dropped * whole.rowBytes, all.end()));
        const LONG wrong[][4] = {{2, 0, kind.dropped, 0},     {0, 2, kind.dropped, 0},
                                 {0, 0, kind.dropped + 1, 0}, {0, 0, -1, 0},
                                 {0, 0, 0x7FFFFFFF, 0},       {0, 0, kind.dropped, 30}};
        for (const auto& [wider, higher, dropped, headless] : wrong) {
            const Picture black{kind.width + wider, cropped.height + higher, 2};
            EXPECT_LT(DecodeMpeg({frame.begin() + headless, frame.end()}, black, dropped).first, 0);
            const Bytes pixels = black.Pixels();
            EXPECT_TRUE(pixels[0] == 0x10 && pixels[1] == 0x80 &&
                        std::equal(pixels.begin() + 2, pixels.end(), pixels.begin()));
        }
        // Cut frames with a damaged header stay inside the picture.
        for (std::size_t size = frame.size(); size > 900; size -= size / 20) {
            Bytes cut(&frame[0], &frame[0] + size);
            cut[size % 60] ^= static_cast<BYTE>(1 << size % 8);
            DecodeMpeg(cut, cropped, kind.dropped);
        }
        cropped.Pixels();
        // 1080 lines are coded as 1088 by every encoder: the header's number counts.
        frame[6] = 0x38;
        frame[5] = static_cast<BYTE>((frame[5] & 0xF0) | 0x4);
        EXPECT_EQ(DecodeMpeg(frame, whole).second, 1080);
    }
}

}  // namespace
}  // namespace nyx::test
