#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <thread>

#include "codecs/engine_records.h"
#include "dv/dif_parser.h"
#include "dv/dv_engine.h"
#include "engines/open/chroma_siting.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/engines.h"
#include "tests/support/frames.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

/// Loaded once; both stay.
template <class Entry>
Entry Open(const wchar_t* library, const char* entry) {
    const HMODULE module =
        LoadLibraryW(EngineFolder(std::wstring(L"..\\open\\") + library).c_str());
    EXPECT_TRUE(module) << "an open engine does not load";
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(module, entry)));
}
const auto kDecode = Open<DvDecodeEntry>(L"rkdvh.dll", "_dv_decode@24");
const auto kEncode = Open<DvEncodeEntry>(L"rkdvh.dll", "_dv_encode@24");
const auto kMpeg = Open<MpegIntraEntry>(L"rkm2vi01.dll", "m2vi_decode");

Bytes Load(const std::string& name) {
    std::ifstream file(NYX_OPEN_FRAMES "/" + name, std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
}

/// A picture that ends at a page which cannot be touched, with gaps of known bytes between its
/// rows.
struct Picture {
    Picture(LONG widthPixels, LONG rows, LONG bytes, LONG gap = 0, bool upsideDown = false)
        : bytesPerPixel(bytes),
          width(widthPixels * bytes),
          pitch(width + gap),
          height(rows),
          bottomUp(upsideDown),
          memory(static_cast<std::size_t>(pitch * rows), kUntouched) {}

    LONG Stride() const { return bottomUp ? -pitch : pitch; }
    BYTE* Row(LONG y) const { return memory.data() + pitch * (bottomUp ? height - 1 - y : y); }

    /// The rows from the top; fails when a gap was written.
    Bytes Pixels() const {
        Bytes pixels;
        for (LONG y = 0; y < height; ++y) {
            pixels.insert(pixels.end(), Row(y), Row(y) + width);
            EXPECT_EQ(std::count(Row(y) + width, Row(y) + pitch, kUntouched), pitch - width) << y;
        }
        return pixels;
    }
    bool IsUntouched() const { return Pixels() == Bytes(Pixels().size(), kUntouched); }

    static constexpr BYTE kUntouched = 0xA7;
    LONG bytesPerPixel, width, pitch, height;
    bool bottomUp;
    GuardedMemory memory;
};

/// Where chroma lies: 4:2:2, 4:1:1, or 4:2:0 whose rows lie `cb` and `cr` lines of a field below
/// the field's first one.
struct Chroma {
    int perRow;  ///< pixels of a sample
    int fields;  ///< 0 when every line has its own chroma
    double cb[2], cr[2];
};
constexpr Chroma k422 = {2, 0, {}, {}};
constexpr Chroma k411 = {4, 0, {}, {}};
constexpr Chroma kDv420 = {2, 2, {1, 1}, {0, 0}};
constexpr Chroma kMpeg420 = {2, 1, {0.5}, {0.5}};
constexpr Chroma kMpeg420Interlaced = {2, 2, {0.25, 0.75}, {0.25, 0.75}};

/// Compares "YUY2" with planes: luma to the last bit, chroma with the linear interpolation between
/// the samples around its place, in real numbers.
void ExpectPicture(const Bytes& yuy2, const Bytes& planes, int width, int height,
                   const Chroma& chroma) {
    const int chromaWidth = (width + chroma.perRow - 1) / chroma.perRow;
    const int chromaHeight = chroma.fields == 0 ? height : (height + 1) / 2;
    ASSERT_EQ(planes.size(),
              static_cast<std::size_t>(width * height + 2 * chromaWidth * chromaHeight));
    const auto sample = [&](int plane, double row, double column) {
        const int at = std::min(static_cast<int>(column), chromaWidth - 1);
        return double{1} * planes[static_cast<std::size_t>(
                               width * height +
                               (plane * chromaHeight + static_cast<int>(row)) * chromaWidth + at)];
    };
    const auto expected = [&](int plane, int y, int x) {
        if (chroma.fields == 0) {
            const double column = double{1} * x / chroma.perRow, left = std::floor(column);
            return sample(plane, y, left) * (1 - column + left) +
                   sample(plane, y, left + 1) * (column - left);
        }
        const int field = y % chroma.fields;
        const int rows = (chromaHeight - field + chroma.fields - 1) / chroma.fields;
        const double place = (y / chroma.fields - (plane == 0 ? chroma.cb : chroma.cr)[field]) / 2;
        const auto row = [&](double index) {
            return sample(plane, std::clamp(index, 0.0, rows - 1.0) * chroma.fields + field, x / 2);
        };
        const double above = std::floor(place);
        return row(above) * (1 - place + above) + row(above + 1) * (place - above);
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto pixel = static_cast<std::size_t>(y * width + x);
            ASSERT_EQ(yuy2[2 * pixel], planes[pixel]) << x << ", " << y;
            ASSERT_NEAR(yuy2[2 * pixel + 1], expected(x % 2, y, x - x % 2), 0.5) << x << ", " << y;
        }
    }
}

struct DvKind {
    const char* clip;  ///< null: nothing that ffmpeg's muxer writes
    LONG encodeFlags, decodeFlags, width, height;
    std::size_t frameBytes;
    const Chroma& chroma;
    LONG formatCode, aspectX;
};
const DvKind kDvKinds[] = {
    {nullptr, 0x51, 0x51, 720, 480, 120000, k411, kFormatDv25, 648},
    {nullptr, 0x451, 0x51, 720, 480, 120000, k411, kFormatDv25, 864},
    {"dv25_525_4x3", 0x52, 0x52, 720, 480, 120000, k411, kFormatDvcPro25, 648},
    {"dv25_625_16x9", 0x491, 0x91, 720, 576, 144000, kDv420, kFormatDv25, 1024},
    {"dvcpro25_625", 0x92, 0x92, 720, 576, 144000, k411, kFormatDvcPro25, 768},
    {"dvcpro50_525", 0x60, 0x60, 720, 480, 240000, k422, kFormatDvcPro50, 648},
    {"dvcpro50_625", 0x4A0, 0xA0, 720, 576, 288000, k422, kFormatDvcPro50, 1024},
    {"dvcprohd_1080_60", 0x472, 0x472, 1280, 1080, 480000, k422, kFormatDvcProHd1080, 1920},
    {"dvcprohd_1080_50", 0x4B2, 0x4B2, 1440, 1080, 576000, k422, kFormatDvcProHd1080, 1920},
    {"dvcprohd_720_60", 0x475, 0x474, 960, 720, 240000, k422, kFormatDvcProHd720, 1280},
    {"dvcprohd_720_50", 0x4B5, 0x4B4, 960, 720, 288000, k422, kFormatDvcProHd720, 1280},
};

LONG DecodeDv(LONG flags, const BYTE* frame, const Picture& picture, LONG code = 0) {
    return kDecode(flags, frame, picture.Row(0), picture.Stride(), picture.bytesPerPixel, code);
}

TEST(OpenDv, ShowsWhatFfmpegShowsWhateverTheFrameSaysOfItself) {
    for (const DvKind& kind : kDvKinds) {
        SCOPED_TRACE(testing::Message() << std::hex << kind.decodeFlags);
        if (!kind.clip) {
            continue;
        }
        DvFrame frame = LoadFrame(kind.clip, kind.frameBytes);
        const Picture packed(kind.width, kind.height, 2);
        ASSERT_EQ(DecodeDv(kind.decodeFlags, frame.data(), packed), 0);
        ExpectPicture(packed.Pixels(), Load(std::string(kind.clip) + ".planes"), kind.width,
                      kind.height, kind.chroma);
        // The caller found the video source pack elsewhere, and the first header block is damaged.
        frame[3] ^= 0x80;
        frame[4] ^= 0x01;
        frame.Put(VauxPackByte(39), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
        const Picture upside(kind.width, kind.height, 2, 52, true);
        ASSERT_EQ(DecodeDv(kind.decodeFlags, frame.data(), upside), 0);
        EXPECT_EQ(packed.Pixels(), upside.Pixels());
    }
}

// On even pixels, which have chroma of their own. Codes count up from studio range in standard
// definition; of a pair the lower is 32-bit with full alpha.
TEST(OpenDv, OutputCodesNameRangeMatrixAndPixel) {
    const DvFrame frame = LoadFrame("dvcpro50_525", 240000);
    const Picture yuy2(720, 480, 2);
    ASSERT_EQ(DecodeDv(0x60, frame.data(), yuy2), 0);
    const Bytes yuv = yuy2.Pixels();
    for (LONG code = 1; code <= 8; ++code) {
        SCOPED_TRACE(code);
        const LONG bytes = code % 2 == 1 ? 4 : 3;
        const Picture picture(720, 480, bytes, 4, true);
        ASSERT_EQ(DecodeDv(0x60, frame.data(), picture, code), 0);
        const Bytes rgb = picture.Pixels();
        const double kr = code <= 4 ? 0.299 : 0.2126, kb = code <= 4 ? 0.114 : 0.0722;
        const bool full = (code - 1) / 2 % 2 == 1;
        for (std::size_t i = 0; i < yuv.size() / 2; i += 2) {
            const double y = (yuv[2 * i] - 16) / 219.0;
            const double b = y + (yuv[2 * i + 1] - 128) / 112.0 * (1 - kb);
            const double r = y + (yuv[2 * i + 3] - 128) / 112.0 * (1 - kr);
            const double expected[] = {b, (y - kb * b - kr * r) / (1 - kb - kr), r};
            const BYTE* pixel = &rgb[i * static_cast<std::size_t>(bytes)];
            for (int c = 0; c < 3; ++c) {
                const double level = full ? 255 * expected[c] : 16 + 219 * expected[c];
                ASSERT_NEAR(pixel[c], std::clamp(level, 0.0, 255.0), 1.5) << i << ' ' << c;
            }
            ASSERT_TRUE(bytes == 3 || pixel[3] == 255);
        }
    }
}

/// Soft waves of all components, which 4:1:1 and 4:2:0 can hold too.
void Paint(const Picture& picture) {
    for (LONG y = 0; y < picture.height; ++y) {
        for (LONG i = 0; i < picture.width; ++i) {
            // Of "YUY2" luma is one component, Cb and Cr are two.
            const LONG component =
                picture.bytesPerPixel == 2 ? i % 2 * (1 + i / 2 % 2) : i % picture.bytesPerPixel;
            const double wave = std::sin(i / picture.bytesPerPixel / 40.0 + component);
            picture.Row(y)[i] = static_cast<BYTE>(126 + 45 * (wave + std::cos(y / 30.0)));
        }
    }
}

double Psnr(const Bytes& a, const Bytes& b, std::size_t first, std::size_t step) {
    double squares = 0, count = 0;
    for (std::size_t i = first; i < a.size(); i += step, ++count) {
        squares += std::pow(double{1} * a[i] - b[i], 2);
    }
    return 10 * std::log10(255.0 * 255.0 * count / (squares + 1e-9));
}

TEST(OpenDv, WhatIsEncodedIsRecognisedAndDecodesBack) {
    for (const DvKind& kind : kDvKinds) {
        for (const auto& [code, bytes] : {std::pair<LONG, LONG>{0, 2}, {4, 3}, {3, 4}}) {
            SCOPED_TRACE(testing::Message() << std::hex << kind.encodeFlags << ", code " << code);
            const Picture source(kind.width, kind.height, bytes, 8, true);
            Paint(source);
            const GuardedMemory frame(kind.frameBytes);
            ASSERT_EQ(kEncode(kind.encodeFlags, frame.data(), source.Row(0), source.Stride(), bytes,
                              code),
                      static_cast<LONG>(kind.frameBytes));
            CLvtDifParser parser;
            EXPECT_EQ(parser.Parse(frame.data(), frame.size()), 1);
            EXPECT_EQ(parser.GetFormatCode(), kind.formatCode);
            EXPECT_EQ(parser.GetPixelAspect().first, kind.aspectX);
            const BYTE application = kind.formatCode != kFormatDv25;
            for (std::size_t at = 0; at < frame.size(); at += 12000) {
                for (const std::size_t marks : {std::size_t{83}, std::size_t{163}}) {
                    ASSERT_EQ(frame.data()[at + marks] >> 4 & 7, application) << at + marks;
                }
                ASSERT_EQ(frame.data()[at + 7] & 7, application) << at;
            }

            const Picture back(kind.width, kind.height, bytes);
            ASSERT_EQ(DecodeDv(kind.decodeFlags, frame.data(), back, code), 0);
            const auto step = static_cast<std::size_t>(bytes);
            for (std::size_t first = 0; first < std::min<std::size_t>(step, 3); ++first) {
                EXPECT_GT(Psnr(source.Pixels(), back.Pixels(), first, step), 38) << first;
            }
        }
    }
}

TEST(OpenDv, RefusesCallsThatMakeNoSense) {
    const DvFrame frame = LoadFrame("dv25_525_4x3", 120000);
    const Picture picture(720, 480, 4);
    struct Call {
        const char* name;
        LONG flags, stride, bytesPerPixel, code;
        bool frame = true, picture = true;
    };
    constexpr Call kCalls[] = {
        {"no system", 0x11, 2880, 2, 0},         {"two systems", 0xD1, 2880, 2, 0},
        {"no variant", 0x53, 2880, 2, 0},        {"no code", 0x51, 2880, 2, 9},
        {"no code", 0x51, 2880, 2, -1},          {"another pixel size", 0x51, 2880, 3, 0},
        {"rows that overlap", 0x51, 1439, 2, 0}, {"rows that overlap", 0x51, -1439, 2, 0},
        {"no frame", 0x51, 2880, 2, 0, false},   {"no picture", 0x51, 2880, 2, 0, true, false},
    };
    DvFrame coded = DvFrame::Blank(576000);
    for (const Call& c : kCalls) {
        SCOPED_TRACE(c.name);
        BYTE* pixels = c.picture ? picture.Row(0) : nullptr;
        EXPECT_LT(kDecode(c.flags, c.frame ? frame.data() : nullptr, pixels, c.stride,
                          c.bytesPerPixel, c.code),
                  0);
        EXPECT_LT(kEncode(c.flags, c.frame ? &coded[0] : nullptr, pixels, c.stride, c.bytesPerPixel,
                          c.code),
                  0);
    }
    EXPECT_TRUE(picture.IsUntouched());
}

TEST(OpenDv, ServesManyThreadsAtOnce) {
    const auto decodes = [](const DvKind& kind) {
        const Picture picture(kind.width, kind.height, 2);
        const std::string clip = kind.clip;
        DecodeDv(kind.decodeFlags, LoadFrame(clip, kind.frameBytes).data(), picture);
        return picture.Pixels();
    };
    const DvKind* kinds[] = {&kDvKinds[2], &kDvKinds[3], &kDvKinds[5]};
    const Bytes alone[] = {decodes(*kinds[0]), decodes(*kinds[1]), decodes(*kinds[2])};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < 4; ++first) {
        threads.emplace_back([&, first] {
            for (std::size_t i = first; i < first + 6; ++i) {
                wrong += decodes(*kinds[i % 3]) != alone[i % 3];
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

LONG CodedHeight(const BYTE* frame, std::size_t size) {
    MpegIntraState state = {};
    MpegIntraHeaderRecord record = {&state, frame, static_cast<DWORD>(size), {}};
    kMpeg(&record);
    return state.codedHeight;
}

LONG DecodeMpeg(const BYTE* frame, std::size_t size, const Picture& picture, LONG dropped = 0) {
    MpegIntraState state = {};
    MpegIntraCrop crop = {};
    crop.linesDroppedAtTop = dropped;
    MpegIntraPictureRecord record = {};
    record.state = &state;
    record.frame = frame;
    record.frameLength = static_cast<DWORD>(size);
    record.destination = picture.Row(0);
    record.stride = picture.Stride();
    record.bytesPerPixel = 2;
    record.width = picture.width / 2;
    record.height = picture.height;
    record.crop = dropped != 0 ? &crop : nullptr;
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

// Headers and pictures; each frame stands for itself, after whichever other one.
TEST(OpenMpeg, ShowsWhatFfmpegShowsWithoutTheLinesAtTheTop) {
    for (const MpegKind& kind : kMpegKinds) {
        SCOPED_TRACE(kind.name);
        const Bytes frame = Load(std::string(kind.name) + ".m2v");
        EXPECT_EQ(CodedHeight(frame.data(), frame.size()), kind.codedHeight);
        const Picture whole(kind.width, kind.codedHeight, 2);
        ASSERT_EQ(DecodeMpeg(frame.data(), frame.size(), whole), 0);
        const Bytes all = whole.Pixels();
        ExpectPicture(all, Load(std::string(kind.name) + ".planes"), kind.width, kind.codedHeight,
                      kind.chroma);
        const Picture cropped(kind.width, kind.codedHeight - kind.dropped, 2, 12, true);
        ASSERT_EQ(DecodeMpeg(frame.data(), frame.size(), cropped, kind.dropped), 0);
        EXPECT_EQ(cropped.Pixels(), Bytes(all.begin() + kind.dropped * whole.width, all.end()));
        const Picture headless(kind.width, kind.codedHeight, 2);
        EXPECT_LT(DecodeMpeg(&frame[30], frame.size() - 30, headless), 0);
    }
}

TEST(OpenMpeg, TheHeadersNumberCountsHoweverManyLinesAreCoded) {
    Bytes frame = Load("small.m2v");
    for (const LONG height : {1080, 1088}) {
        frame[5] = static_cast<BYTE>((frame[5] & 0xF0) | height >> 8);
        frame[6] = static_cast<BYTE>(height);
        EXPECT_EQ(CodedHeight(frame.data(), frame.size()), height);
    }
    EXPECT_EQ(CodedHeight(frame.data(), 6), 0) << "cut within the header";
    EXPECT_EQ(CodedHeight(nullptr, 0), 0);
}

TEST(OpenMpeg, PaintsBlackWhereThereIsNoSuchPicture) {
    const Bytes small = Load("small.m2v");
    const Bytes noise(1000, 0x5A);
    const struct {
        const Bytes& frame;
        LONG width, height, dropped;
    } cases[] = {
        {small, 98, 64, 0},          {small, 96, 66, 0},  {small, 96, 64, 1},
        {small, 96, 64, 0x7FFFFFFF}, {small, 96, 64, -1}, {noise, 96, 64, 0},
    };
    for (const auto& c : cases) {
        const Picture picture(c.width, c.height, 2);
        EXPECT_LT(DecodeMpeg(c.frame.data(), c.frame.size(), picture, c.dropped), 0);
        const Bytes pixels = picture.Pixels();
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            ASSERT_EQ(pixels[i], i % 2 == 0 ? 0x10 : 0x80);
        }
    }
}

/// Calls `decode` with copies of the frame with some bits flipped, which end at a guard.
void Damage(const BYTE* frame, std::size_t size, int rounds, unsigned mostFlips,
            const std::function<void(const GuardedMemory&)>& decode) {
    std::mt19937 random(11);
    GuardedMemory bytes(size);
    for (int round = 0; round < rounds; ++round) {
        std::copy_n(frame, size, bytes.data());
        // Half the rounds hit the headers, where little damage does much.
        const std::size_t reach = round % 2 == 0 ? size : std::min<std::size_t>(size, 60);
        for (unsigned flips = 1 + random() % mostFlips; flips > 0; --flips) {
            bytes.data()[random() % reach] ^= static_cast<BYTE>(1 << random() % 8);
        }
        decode(bytes);
    }
}

TEST(OpenEngines, DamageAndCutsStayInsideThePicture) {
    for (const DvKind& kind : kDvKinds) {
        if (kind.clip) {
            SCOPED_TRACE(kind.clip);
            const DvFrame frame = LoadFrame(kind.clip, kind.frameBytes);
            const Picture picture(kind.width, kind.height, 2, 4);
            Damage(frame.data(), frame.size(), kind.height > 576 ? 6 : 20, 300,
                   [&](const GuardedMemory& bytes) {
                       DecodeDv(kind.decodeFlags, bytes.data(), picture);
                   });
            picture.Pixels();
        }
    }
    for (const MpegKind& kind : kMpegKinds) {
        SCOPED_TRACE(kind.name);
        const Bytes frame = Load(std::string(kind.name) + ".m2v");
        const Picture picture(kind.width, kind.codedHeight - kind.dropped, 2, 4);
        const auto decode = [&](const GuardedMemory& bytes) {
            CodedHeight(bytes.data(), bytes.size());
            DecodeMpeg(bytes.data(), bytes.size(), picture, kind.dropped);
        };
        Damage(frame.data(), frame.size(), kind.width == 720 ? 20 : 300, 8, decode);
        for (std::size_t size = 0; size < frame.size(); size += 1 + frame.size() / 200) {
            decode(GuardedMemory(Bytes(frame.begin(), frame.begin() + static_cast<LONG>(size))));
        }
        picture.Pixels();
    }
}

// Every width, so that vectors and their tails are both met; sources and output end at guards.
TEST(OpenEngines, LinesOfEveryWidthAreDoubledAndInterleaved) {
    std::mt19937 random(5);
    const auto noise = [&random](int count) {
        Bytes bytes(static_cast<std::size_t>(count));
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<BYTE>(random()); });
        return bytes;
    };
    for (int count = 1; count <= 100; ++count) {
        const GuardedMemory samples(noise((count + 1) / 2)), doubled(noise(count));
        open::DoubleSamples(samples.data(), count, doubled.data());
        const GuardedMemory luma(noise(2 * count)), cb(noise(count)), cr(noise(count));
        const GuardedMemory line(noise(4 * count));
        open::Interleave(luma.data(), cb.data(), cr.data(), 2 * count, line.data());
        for (std::size_t x = 0; x < doubled.size(); ++x) {
            const std::size_t right = std::min((x + 1) / 2, samples.size() - 1);
            ASSERT_EQ(doubled.data()[x], (samples.data()[x / 2] + samples.data()[right] + 1) / 2);
            const BYTE pair[] = {luma.data()[2 * x], cb.data()[x], luma.data()[2 * x + 1],
                                 cr.data()[x]};
            ASSERT_TRUE(std::equal(pair, pair + 4, line.data() + 4 * x)) << count << ' ' << x;
        }
    }
}

}  // namespace
}  // namespace nyx::test
