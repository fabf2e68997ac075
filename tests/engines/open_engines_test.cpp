#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <fstream>
#include <future>
#include <iterator>
#include <random>
#include <set>

#include "codecs/engine_records.h"
#include "dv/dif_parser.h"
#include "dv/dv_engine.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/engines.h"
#include "tests/support/frames.h"
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
    EXPECT_TRUE(file) << name;
    return Bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

/// A picture that ends at a guard, with gaps of known bytes between its rows.
struct Picture {
    Picture(LONG pixels, LONG rows, LONG bytes, LONG gap = 0, LONG direction = 1)
        : bytesPerPixel(bytes),
          width(pixels * bytes),
          height(rows),
          stride(direction * (width + gap)),
          memory(static_cast<std::size_t>((width + gap) * rows), kUntouched) {}

    BYTE* Row(LONG y) const { return memory.data() + (y - (stride < 0 ? height - 1 : 0)) * stride; }

    /// The rows from the top; fails when a gap was written.
    Bytes Pixels() const {
        Bytes pixels;
        for (LONG y = 0; y < height; ++y) {
            pixels.insert(pixels.end(), Row(y), Row(y) + width);
            BYTE* end = Row(y) + std::abs(stride);
            EXPECT_TRUE(std::all_of(Row(y) + width, end, [](BYTE b) { return b == kUntouched; }));
        }
        return pixels;
    }

    static constexpr BYTE kUntouched = 0xA7;
    LONG bytesPerPixel, width, height, stride;
    GuardedMemory memory;
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

/// Compares "YUY2" with planes: luma to the last bit, chroma with the linear interpolation between
/// the samples around its place, in real numbers. Of many lines every seventh counts.
void ExpectPicture(const Picture& picture, const std::string& name, const Chroma& c) {
    const Bytes yuy2 = picture.Pixels(), planes = Load(name + ".planes");
    const int width = picture.width / 2, height = picture.height;
    const int chromaWidth = width / c.perRow, chromaHeight = c.fields == 0 ? height : height / 2;
    const auto expected = [&](int plane, int y, int x) {
        const auto sample = [&](double row, double column) {
            const int line = plane * chromaHeight + static_cast<int>(row);
            const int at = std::min(static_cast<int>(column), chromaWidth - 1);
            return double{1} * planes.data()[width * height + line * chromaWidth + at];
        };
        if (c.fields == 0) {
            const double place = double{1} * x / c.perRow, left = std::floor(place);
            return sample(y, left) * (1 - place + left) + sample(y, left + 1) * (place - left);
        }
        const int field = y % c.fields;
        const int rows = (chromaHeight - field + c.fields - 1) / c.fields;
        const double place = (y / c.fields - (plane == 0 ? c.cb : c.cr)[field]) / 2;
        const auto row = [&](double index) {
            return sample(std::clamp(index, 0.0, rows - 1.0) * c.fields + field, x / 2);
        };
        const double above = std::floor(place);
        return row(above) * (1 - place + above) + row(above + 1) * (place - above);
    };
    ASSERT_GE(planes.size(), static_cast<std::size_t>(width * height));
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
    double yuy2Psnr, rgbPsnr;
    LONG formatCode, aspectX;
};
const DvKind kDvKinds[] = {
    {"dv25_525_4x3", 0x51, 0x51, 720, 480, k411, 42, 35.2, kFormatDv25, 648},
    {"dv25_525_4x3", 0x451, 0x51, 720, 480, k411, 42, 35.2, kFormatDv25, 864},
    {"dv25_525_4x3", 0x52, 0x52, 720, 480, k411, 42, 35.2, kFormatDvcPro25, 648},
    {"dv25_625_16x9", 0x491, 0x91, 720, 576, kDv420, 44.4, 37.9, kFormatDv25, 1024},
    {"dvcpro25_625", 0x92, 0x92, 720, 576, k411, 42, 35.2, kFormatDvcPro25, 768},
    {"dvcpro50_525", 0x60, 0x60, 720, 480, k422, 60, 45.3, kFormatDvcPro50, 648},
    {"dvcpro50_625", 0x4A0, 0xA0, 720, 576, k422, 60, 45.3, kFormatDvcPro50, 1024},
    {"dvcprohd_1080_60", 0x472, 0x472, 1280, 1080, k422, 60, 0, kFormatDvcProHd1080, 1920},
    {"dvcprohd_1080_50", 0x4B2, 0x4B2, 1440, 1080, k422, 60, 0, kFormatDvcProHd1080, 1920},
    {"dvcprohd_720_60", 0x475, 0x474, 960, 720, k422, 60, 0, kFormatDvcProHd720, 1280},
    {"dvcprohd_720_50", 0x4B5, 0x4B4, 960, 720, k422, 60, 0, kFormatDvcProHd720, 1280},
};

LONG DecodeDv(LONG flags, const BYTE* frame, const Picture& picture, LONG code = 0) {
    return kDecode(flags, frame, picture.Row(0), picture.stride, picture.bytesPerPixel, code);
}

double Psnr(const Bytes& a, const Bytes& b) {
    long long squares = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        squares += (a[i] - b[i]) * (a[i] - b[i]);
    }
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) /
                           (static_cast<double>(squares) + 1e-9));
}

/// What is shown is encoded again, of standard definition in all layouts: the frame is marked as
/// what it is.
TEST(OpenDv, ShowsWhatFfmpegShowsAndEncodesItAgain) {
    for (const DvKind& kind : kDvKinds) {
        SCOPED_TRACE(testing::Message() << std::hex << kind.encodeFlags);
        DvFrame frame = LoadFrame(kind.clip);
        const Picture whole(kind.width, kind.height, 2);
        ASSERT_EQ(DecodeDv(kind.decodeFlags, frame.data(), whole), 0);
        ExpectPicture(whole, kind.clip, kind.chroma);
        // The caller found the video source pack elsewhere, and the first header block is damaged.
        frame[3] ^= 0x80;
        frame[4] ^= 0x01;
        frame.Put(VauxPackByte(39), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
        for (const LONG bytes : {2, 3, 4}) {
            const LONG code = bytes == 2 ? 0 : 7 - bytes;
            const Picture source(kind.width, kind.height, bytes, 52, -1);
            ASSERT_EQ(DecodeDv(kind.decodeFlags, frame.data(), source, code), 0);
            EXPECT_TRUE(code != 0 || source.Pixels() == whole.Pixels());
            if (code != 0 && kind.width > 720) {
                continue;
            }
            const GuardedMemory coded(frame.size());
            ASSERT_EQ(
                kEncode(kind.encodeFlags, coded.data(), source.Row(0), source.stride, bytes, code),
                static_cast<LONG>(frame.size()));
            CLvtDifParser parser;
            EXPECT_EQ(parser.Parse(coded.data(), coded.size()), 1);
            EXPECT_EQ(parser.GetFormatCode(), kind.formatCode);
            EXPECT_EQ(parser.GetPixelAspect().first, kind.aspectX);
            const int application = kind.formatCode != kFormatDv25;
            for (const BYTE* at = coded.data(); at < coded.data() + coded.size(); at += 12000) {
                const int marks[] = {at[7] & 7, at[83] >> 4 & 7, at[163] >> 4 & 7};
                ASSERT_EQ(std::count(marks, marks + 3, application), 3);
            }
            const Picture back(kind.width, kind.height, bytes);
            ASSERT_EQ(DecodeDv(kind.decodeFlags, coded.data(), back, code), 0);
            EXPECT_GT(Psnr(source.Pixels(), back.Pixels()),
                      code == 0 ? kind.yuy2Psnr : kind.rgbPsnr);
        }
    }
}

/// On some even pixels, which have chroma of their own. Codes count up from studio range in
/// standard definition; of a pair the lower is 32-bit with full alpha.
TEST(OpenDv, OutputCodesNameRangeMatrixAndPixel) {
    const DvFrame frame = LoadFrame("dvcpro50_525");
    const Picture yuy2(720, 480, 2);
    ASSERT_EQ(DecodeDv(0x60, frame.data(), yuy2), 0);
    const Bytes yuv = yuy2.Pixels();
    for (LONG code = 1; code <= 8; ++code) {
        const LONG bytes = code % 2 == 1 ? 4 : 3;
        const Picture picture(720, 480, bytes, 4, -1);
        ASSERT_EQ(DecodeDv(0x60, frame.data(), picture, code), 0);
        const Bytes rgb = picture.Pixels();
        const double kr = code <= 4 ? 0.299 : 0.2126, kb = code <= 4 ? 0.114 : 0.0722;
        const bool full = (code - 1) / 2 % 2 == 1;
        for (std::size_t i = 0; i < yuv.size() / 2; i += 14) {
            const double y = (yuv[2 * i] - 16) / 219.0;
            const double b = y + (yuv[2 * i + 1] - 128) / 112.0 * (1 - kb);
            const double r = y + (yuv[2 * i + 3] - 128) / 112.0 * (1 - kr);
            const double expected[] = {b, (y - kb * b - kr * r) / (1 - kb - kr), r};
            const BYTE* pixel = &rgb[i * static_cast<std::size_t>(bytes)];
            for (int c = 0; c < 3; ++c) {
                const double level = full ? 255 * expected[c] : 16 + 219 * expected[c];
                ASSERT_NEAR(pixel[c], std::clamp(level, 0.0, 255.0), 1.5) << code << ' ' << i;
            }
            ASSERT_TRUE(bytes == 3 || pixel[3] == 255);
        }
    }
}

/// No system, two, no variant, codes that there are not, another pixel size, rows that overlap.
TEST(OpenDv, RefusesCallsThatMakeNoSense) {
    constexpr LONG kCalls[][4] = {{0x11, 2880, 2, 0}, {0xD1, 2880, 2, 0},  {0x53, 2880, 2, 0},
                                  {0x51, 2880, 4, 9}, {0x51, 2880, 2, -1}, {0x51, 2880, 3, 0},
                                  {0x51, 1439, 2, 0}, {0x51, -1439, 2, 0}};
    DvFrame frame = DvFrame::Blank(120000);
    const Picture picture(720, 480, 4);
    BYTE *coded = &frame[0], *pixels = picture.Row(0);
    for (const auto& [flags, stride, bytes, code] : kCalls) {
        EXPECT_LT(kDecode(flags, coded, pixels, stride, bytes, code), 0) << flags << ' ' << stride;
        EXPECT_LT(kEncode(flags, coded, pixels, stride, bytes, code), 0) << flags << ' ' << stride;
    }
    EXPECT_LT(kDecode(0x51, nullptr, pixels, 1440, 2, 0), 0);
    EXPECT_LT(kDecode(0x51, coded, nullptr, 1440, 2, 0), 0);
    EXPECT_LT(kEncode(0x51, nullptr, pixels, 1440, 2, 0), 0);
    EXPECT_LT(kEncode(0x51, coded, nullptr, 1440, 2, 0), 0);
    EXPECT_EQ(picture.Pixels(), Bytes(picture.memory.size(), Picture::kUntouched));
}

TEST(OpenDv, ServesManyThreadsAtOnce) {
    const auto decode = [](std::size_t index, int times) {
        const DvFrame frame = LoadFrame("dvcpro50_625", index % 3);
        std::set<Bytes> pictures;
        while (times-- > 0) {
            const Picture picture(720, 576, 2);
            DecodeDv(0xA0, frame.data(), picture);
            pictures.insert(picture.Pixels());
        }
        return pictures;
    };
    std::vector<std::future<std::set<Bytes>>> threads;
    for (std::size_t i = 0; i < 6; ++i) {
        threads.push_back(std::async(std::launch::async, decode, i, 8));
    }
    for (std::size_t i = 0; i < threads.size(); ++i) {
        EXPECT_TRUE(threads[i].get() == decode(i, 1)) << i;
    }
}

LONG CodedHeight(const BYTE* frame, std::size_t size) {
    MpegIntraState state = {};
    MpegIntraHeaderRecord record = {&state, frame, static_cast<DWORD>(size), {}};
    kMpeg(&record);
    return state.codedHeight;
}

LONG DecodeMpeg(const BYTE* frame, std::size_t size, const Picture& picture, LONG dropped = 0) {
    MpegIntraState state = {};
    const MpegIntraCrop crop = {{}, dropped, {}};
    MpegIntraPictureRecord record = {&state,
                                     frame,
                                     static_cast<DWORD>(size),
                                     picture.Row(0),
                                     picture.stride,
                                     2,
                                     picture.width / 2,
                                     picture.height,
                                     {},
                                     dropped != 0 ? &crop : nullptr};
    return kMpeg(&record);
}

struct MpegKind {
    const char* name;
    LONG width, codedHeight, dropped;
    const Chroma& chroma;
};
const MpegKind kMpegKinds[] = {
    {"small", 96, 64, 0, k422},
    {"small_420", 98, 66, 0, kMpeg420},
    {"small_420_interlaced", 98, 66, 0, kMpeg420Interlaced},
    {"production_625", 720, 608, 32, k422},
};

/// Each frame stands for itself, after whichever other one; without its header it is none.
TEST(OpenMpeg, ShowsWhatFfmpegShowsWithoutTheLinesAtTheTop) {
    for (const MpegKind& kind : kMpegKinds) {
        SCOPED_TRACE(kind.name);
        Bytes frame = Load(std::string(kind.name) + ".m2v");
        EXPECT_EQ(CodedHeight(frame.data(), frame.size()), kind.codedHeight);
        EXPECT_EQ(CodedHeight(frame.data(), 6), 0) << "cut within the header";
        const Picture whole(kind.width, kind.codedHeight, 2);
        ASSERT_EQ(DecodeMpeg(frame.data(), frame.size(), whole), 0);
        ExpectPicture(whole, kind.name, kind.chroma);
        const Bytes all = whole.Pixels();
        const Picture cropped(kind.width, kind.codedHeight - kind.dropped, 2, 12, -1);
        ASSERT_EQ(DecodeMpeg(frame.data(), frame.size(), cropped, kind.dropped), 0);
        EXPECT_EQ(cropped.Pixels(), Bytes(all.begin() + kind.dropped * whole.width, all.end()));
        const struct {
            LONG wider, higher, dropped;
            std::size_t headless;
        } wrong[] = {{2, 0, kind.dropped, 0}, {0, 2, kind.dropped, 0}, {0, 0, kind.dropped + 1, 0},
                     {0, 0, -1, 0},           {0, 0, LONG_MAX, 0},     {0, 0, kind.dropped, 30}};
        for (const auto& w : wrong) {
            const Picture black(kind.width + w.wider, cropped.height + w.higher, 2);
            const std::size_t size = frame.size() - w.headless;
            EXPECT_LT(DecodeMpeg(&frame[w.headless], size, black, w.dropped), 0);
            const Bytes pixels = black.Pixels();
            for (std::size_t i = 0; i < pixels.size(); ++i) {
                ASSERT_EQ(pixels[i], i % 2 == 0 ? 0x10 : 0x80);
            }
        }
        // 1080 lines are coded as 1088 by every encoder: the header's number counts.
        frame[6] = 0x38;
        frame[5] = static_cast<BYTE>((frame[5] & 0xF0) | 0x4);
        EXPECT_EQ(CodedHeight(frame.data(), frame.size()), 1080);
    }
}

/// Cut frames with some bits flipped, half of them in the headers, where little damage does much.
TEST(OpenMpeg, DamageAndCutsStayInsideThePicture) {
    std::mt19937 random(11);
    for (const MpegKind& kind : kMpegKinds) {
        const Bytes whole = Load(std::string(kind.name) + ".m2v");
        const Picture picture(kind.width, kind.codedHeight - kind.dropped, 2, 4);
        const std::size_t step = kind.width == 720 ? whole.size() / 20 : 8;
        for (std::size_t size = whole.size(); size > step; size -= step) {
            const GuardedMemory frame(Bytes(whole.data(), whole.data() + size));
            for (std::size_t flips = random() % 20; flips > 0; --flips) {
                const std::size_t reach = std::min<std::size_t>(size, flips % 2 == 0 ? size : 60);
                frame.data()[random() % reach] ^= static_cast<BYTE>(1 << random() % 8);
            }
            CodedHeight(frame.data(), size);
            DecodeMpeg(frame.data(), size, picture, kind.dropped);
        }
        picture.Pixels();
    }
}

}  // namespace
}  // namespace nyx::test
