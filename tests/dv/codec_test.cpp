#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <set>

#include "dv/dv25_codec.h"
#include "dv/dv50_codec.h"
#include "dv/dvhd_codec.h"
#include "dv/resample.h"
#include "engines/standin/dv_picture.h"
#include "settings/codec_settings.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/engines.h"
#include "tests/support/frames.h"
#include "tests/support/guard.h"
#include "tests/support/leaks.h"
#include "tests/support/settings.h"
#include "tests/support/together.h"
#include "tools/nyxhost/dv_description.h"

namespace nyx {
namespace {

using test::Bytes;
using test::DvFrame;
using test::LoadFrame;
using test::MakeHeader;
using test::operator+;

constexpr BYTE kUntouched = 0xA5;
constexpr DWORD kDv25 = FourCC("QDVC"), kDv50 = FourCC("QDV5"), kDvHd = FourCC("QDVH");

/// Numbers and addresses.
template <class... Numbers>
std::vector<LONG_PTR> Words(Numbers... numbers) {
    return {LONG_PTR(numbers)...};
}
std::vector<LONG_PTR> WordsOf(const standin::Call& call) {
    return {call.words, call.words + call.wordCount};
}

standin::Call LastCall(standin::Purpose purpose = standin::kDecode) {
    return test::LastCall(L"rkdvh.dll", purpose);
}

/// "YUY2" for 16 bits, else RGB.
BITMAPINFOHEADER PictureHeader(LONG bits, LONG width, LONG height) {
    return MakeHeader(bits == 16 ? FourCC("YUY2") : DWORD{BI_RGB}, WORD(bits), width, height);
}

/// A picture that ends where its memory ends; rows lie `stride` bytes apart.
struct Picture {
    LONG bits, width, height, distance = 0;
    BITMAPINFOHEADER header = PictureHeader(bits, width, height);
    LONG rowBytes = width * bits / 8, stride = distance == 0 ? rowBytes : distance;
    LONG rows = std::abs(height);
    test::GuardedMemory memory{static_cast<std::size_t>(stride * (rows - 1) + rowBytes),
                               kUntouched};

    BYTE* Row(LONG y) const { return memory.data() + std::ptrdiff_t{y} * stride; }
    bool IsFilled(BYTE even, BYTE odd) const {
        bool filled = true;
        for (LONG i = 0; i < rows * rowBytes; ++i) {
            filled &= Row(i / rowBytes)[i % rowBytes] == (i % rowBytes % 2 == 0 ? even : odd);
        }
        return filled;
    }
    bool IsUntouched() const { return IsFilled(kUntouched, kUntouched); }
    bool IsBlack() const { return bits == 16 ? IsFilled(0x10, 0x80) : IsFilled(0, 0); }
};

/// The picture's rows in memory, resampled to another width.
Bytes Resampled(const Picture& from, LONG width) {
    const LONG perUnit = from.bits == 16 ? 2 : 1, rowBytes = width * from.bits / 8;
    Bytes rows(static_cast<std::size_t>(rowBytes * from.rows));
    (width > from.width ? StretchRows : SqueezeRows)(
        from.bits == 24 ? ResampleUnit::kThreeBytes : ResampleUnit::kFourBytes,
        {from.Row(0), from.stride, from.width / perUnit}, {rows.data(), rowBytes, width / perUnit},
        from.rows);
    return rows;
}

/// Whether the ends of a "YUY2" row show the luma that the stand-in shows for the frame.
bool ShowsFrame(const BYTE* row, LONG width, int y, const DvFrame& frame) {
    const std::uint32_t digest = standin::DvFrameDigest(frame.data(), frame.size());
    return row[0] == standin::DvLuma(digest, 0, y) &&
           row[2 * width - 2] == standin::DvLuma(digest, width - 1, y);
}

class DvCodec : public testing::Test {
  protected:
    /// A codec with the settings and engines of when the first one was asked for.
    CDvCodecBase& Codec(DWORD fourcc = kDv25) {
        if (codecs_.empty()) {
            codecs_[kDv25] = std::make_unique<CDv25Codec>();
            codecs_[kDv50] = std::make_unique<CDv50Codec>();
            codecs_[kDvHd] = std::make_unique<CDvHdCodec>();
        }
        return *codecs_[fourcc];
    }

    /// `frame` from memory that ends with it, though it claims to be longer.
    HRESULT Decode(DWORD fourcc, LONG width, LONG height, const DvFrame& frame,
                   const Picture& picture, LONG stride = 0, std::size_t claimed = 0) {
        const test::GuardedMemory sample(Bytes(frame.data(), frame.data() + frame.size()));
        const BITMAPINFOHEADER input =
            MakeHeader(fourcc, 24, width, height, std::max(claimed, frame.size()));
        return Codec(fourcc).Decompress(&input, sample.data(), &picture.header, false,
                                        picture.Row(0), stride, 0);
    }
    HRESULT DecodePal(const DvFrame& frame, const Picture& picture, LONG stride = 0) {
        return Decode(kDv25, 720, 576, frame, picture, stride);
    }

    const test::PrivateUserRegistry registry_;
    const test::EngineSearch search_;
    const DvFrame pal_ = LoadFrame("dv25_625_16x9");
    std::map<DWORD, std::unique_ptr<CDvCodecBase>> codecs_;
};

TEST_F(DvCodec, TheEngineIsToldSystemVariantAndLayout) {
    // The application is null as recorded; the code is that of 24 bits: 32 bits are one below, the
    // studio range two.
    constexpr std::tuple<const char*, const char*, DWORD, LONG, LONG, DWORD, DWORD> kCases[] = {
        {"dv25_525_4x3", "0000000", kDv25, 720, 480, 0x51, 4},
        {"dv25_525_16x9", "1111111", kDv25, 720, 480, 0x52, 4},
        {"dv25_625_16x9", nullptr, kDv25, 720, 576, 0x91, 4},
        {"dvcpro25_625", nullptr, kDv25, 720, 576, 0x92, 4},
        {"dvcpro50_525", nullptr, kDv50, 720, 480, 0x60, 4},
        {"dvcpro50_625", nullptr, kDv50, 720, 576, 0xA0, 4},
        {"dvcprohd_1080_60", nullptr, kDvHd, 1280, 1080, 0x472, 8},
        {"dvcprohd_1080_50", nullptr, kDvHd, 1440, 1080, 0x4B2, 8},
        {"dvcprohd_720_60", nullptr, kDvHd, 960, 720, 0x474, 8},
        {"dvcprohd_720_50", nullptr, kDvHd, 960, 720, 0x4B4, 8},
    };
    for (const LONG colorSpace : {0, 1}) {
        for (const DWORD fourcc : {kDv25, kDv50, kDvHd}) {
            WriteCodecSetting(fourcc, L"color_space", colorSpace);
        }
        codecs_.clear();
        for (const auto& [clip, application, fourcc, width, height, flags, rgb24Code] : kCases) {
            SCOPED_TRACE(clip);
            DvFrame frame = LoadFrame(clip);
            application ? frame.SetApplicationId(application) : void();
            for (const LONG bits : {16, 24, 32}) {
                const Picture picture{bits, width, bits == 32 ? height : -height};
                ASSERT_EQ(Decode(fourcc, width, height, frame, picture), S_OK);
                const standin::Call call = LastCall();
                const DWORD code = rgb24Code - (bits == 32) - (colorSpace == 1 ? 2 : 0);
                const LONG first = bits == 32 ? height - 1 : 0;
                EXPECT_EQ(WordsOf(call), Words(flags, call.words[1], picture.Row(first),
                                               picture.rowBytes * (bits == 32 ? -1 : 1), bits / 8,
                                               bits == 16 ? 0 : code));
                EXPECT_EQ(call.result, standin::kDone);
                EXPECT_TRUE(bits != 16 || ShowsFrame(picture.Row(99), width, 99, frame));
            }
        }
    }
}

TEST_F(DvCodec, WideScreenPicturesAreStretched) {
    constexpr LONG kCases[][3] = {
        {16, 856, 480}, {16, 1024, 576}, {24, 856, -480}, {24, 1024, 576}};
    for (const auto& [bits, width, signedHeight] : kCases) {
        const LONG height = std::abs(signedHeight);
        const DvFrame frame = height == 576 ? pal_ : LoadFrame("dv25_525_16x9");
        const Picture recorded{bits, 720, signedHeight};
        ASSERT_EQ(Decode(kDv25, 720, height, frame, recorded), S_OK);
        const Bytes expected = Resampled(recorded, width);
        for (const LONG inputWidth : {width, LONG{720}}) {
            const Picture picture{bits, width, signedHeight};
            ASSERT_EQ(Decode(kDv25, inputWidth, height, frame, picture), S_OK);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), picture.Row(0)));
            EXPECT_NE(LastCall().words[2], LONG_PTR(picture.Row(0)));
            EXPECT_EQ(static_cast<LONG>(LastCall().words[3]),
                      720 * bits / 8 * (bits == 24 && signedHeight > 0 ? -1 : 1));
        }
    }
    test::ExpectSameTogether([&](int number) {
        const DvFrame frame = number == 1 ? pal_ : LoadFrame("dv25_625_4x3");
        return [=, this](Bytes* rows) {
            const Picture picture{16, 1024, 576};
            EXPECT_EQ(DecodePal(frame, picture), S_OK);
            rows->assign(picture.Row(0), picture.Row(576));
        };
    });
    const Picture deep{32, 1024, 576};
    EXPECT_EQ(DecodePal(pal_, deep), S_OK);
    EXPECT_TRUE(deep.IsUntouched()) << "32-bit pixels are not stretched";
    // A caller's stride counts from the top.
    const Picture apart{24, 720, 576, 2400};
    ASSERT_EQ(DecodePal(pal_, apart, 2400), S_OK);
    EXPECT_EQ(Words(LastCall().words[2], LastCall().words[3]), Words(apart.Row(0), 2400));
    EXPECT_EQ(apart.Row(0)[2160], kUntouched);
    const Picture padded{16, 736, 576};
    ASSERT_EQ(DecodePal(pal_, padded), S_OK);
    EXPECT_TRUE(ShowsFrame(padded.Row(575), 720, 575, pal_));
    EXPECT_TRUE(padded.Row(575)[1440] == kUntouched && padded.Row(575)[1471] == kUntouched);
}

TEST_F(DvCodec, WhatIsNoFrameOfTheSizeIsABlackPictureAndNeverReachesTheEngine) {
    const std::tuple<DvFrame, LONG, LONG, LONG, LONG> cases[] = {
        {DvFrame::Blank(120000), 16, 720, 480, 0},
        {DvFrame::Blank(120000), 24, 720, 480, 0},
        {DvFrame::Blank(7), 32, 1024, 576, 0},
        {DvFrame::Blank(120000), 16, 720, 480, 1500},
        {pal_.Cut(143999), 16, 720, 576, 0},
        {pal_.Cut(132000), 16, 736, 576, 0},
        {pal_.Cut(13000), 16, 720, 576, 0},
        {pal_, 16, 720, 480, 0},  // other heights, another variant
        {LoadFrame("dv25_525_4x3"), 16, 720, 576, 0},
        {LoadFrame("dvcprohd_720_50"), 16, 720, 576, 0},
    };
    const DWORD before = LastCall().count;
    for (const auto& [frame, bits, width, height, stride] : cases) {
        const Picture picture{bits, width, height, stride};
        EXPECT_EQ(Decode(kDv25, 720, height, frame, picture, stride), E_FAIL) << frame.size();
        EXPECT_TRUE(picture.IsBlack()) << frame.size();
        EXPECT_TRUE(stride == 0 || picture.Row(0)[1440] == kUntouched);
    }
    const Picture narrower{16, 1280, 1080};
    EXPECT_EQ(Decode(kDvHd, 1280, 1080, LoadFrame("dvcprohd_1080_50"), narrower), E_FAIL);
    EXPECT_TRUE(narrower.IsBlack());
    EXPECT_EQ(LastCall().count, before);

    // A sample that ends before the length it claims, before its tag even; a picture that is gone.
    for (const std::size_t size : {100u, 0u}) {
        const Picture picture{16, 720, 576};
        EXPECT_EQ(Decode(kDv25, 720, 576, pal_.Cut(size), picture, 0, 144000), E_FAIL);
        EXPECT_TRUE(picture.IsBlack());
        picture.memory.Protect();
        EXPECT_EQ(Decode(kDv25, 720, 576, pal_.Cut(size), picture, 0, 144000), E_FAIL);
        EXPECT_EQ(DecodePal(pal_, picture), E_FAIL);
    }
}

TEST_F(DvCodec, AFaultIsBlackARefusalLeavesThePictureAlone) {
    for (const char* what : {"decode:access", "decode:divide", "decode:throw"}) {
        const test::Misbehaviour misbehaviour(what);
        for (const LONG width : {720, 736, 1024}) {
            const Picture picture{16, width, 576};
            EXPECT_EQ(DecodePal(pal_, picture), E_FAIL) << what;
            EXPECT_TRUE(picture.IsBlack()) << what << width;
        }
    }
    DvFrame type15 = LoadFrame("dvcprohd_1080_50");
    type15.SetPackByte(0x60, 3, 0xF5);
    const Picture hd{16, 1440, 1080};
    EXPECT_EQ(Decode(kDvHd, 1440, 1080, type15, hd), E_FAIL);
    EXPECT_TRUE(hd.IsUntouched());

    const Picture picture{16, 720, 576};
    const BITMAPINFOHEADER input = MakeHeader(kDv25, 24, 720, 576, pal_.size());
    const BITMAPINFOHEADER outputs[] = {PictureHeader(16, 700, 576), PictureHeader(16, 720, 480),
                                        MakeHeader(FourCC("v408"), 16, 720, 576), picture.header};
    const auto decode = [&](const BITMAPINFOHEADER* header, const void* frame, int output,
                            void* pixels) {
        return Codec().Decompress(header, frame, &outputs[output], false, pixels, 0, 0);
    };
    for (const int output : {0, 1, 2}) {
        EXPECT_EQ(decode(&input, pal_.data(), output, picture.Row(0)), E_FAIL) << output;
    }
    EXPECT_EQ(DecodePal(pal_, picture, 1438) & DecodePal(pal_, picture, -1438), E_FAIL);
    EXPECT_EQ(decode(nullptr, pal_.data(), 3, picture.Row(0)), E_POINTER);
    EXPECT_EQ(decode(&input, pal_.data(), 3, nullptr), E_POINTER);
    EXPECT_EQ(decode(&input, nullptr, 3, picture.Row(0)), E_FAIL);
    const test::EngineSearch search(L"none");
    codecs_.clear();
    EXPECT_EQ(DecodePal(pal_, picture), E_FAIL);
    EXPECT_FALSE(CDv25Codec::IsEngineAvailable(kEngineForDecoding));
    EXPECT_TRUE(picture.IsUntouched());
}

TEST_F(DvCodec, FramesTellTheirParameters) {
    const test::GuardedMemory cutOff(Bytes(pal_.data(), pal_.data() + 100));
    const std::tuple<const void*, HRESULT, FrameInfo> cases[] = {
        {pal_.data(), S_OK, {1, 1024, 720, LONG(0xC1828304), -1, 0x0405C6FF, LONG(0xC78889FF)}},
        {nullptr, S_FALSE, {1, 768, 720, -1, -1, -1, -1}},  // by the tables of sizes
        {cutOff.data(), S_OK, {-1, -1, -1, -1, -1, -1, -1}}};
    for (const auto& [frame, result, expected] : cases) {
        const BITMAPINFOHEADER input = MakeHeader(kDv25, 24, 720, 576, frame ? 144000 : 0);
        FrameInfo info = {9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(Codec().GetFrameInfo(&input, frame, 400000, &info), result);
        EXPECT_EQ(std::memcmp(&info, &expected, sizeof(info)), 0) << frame;
    }
    EXPECT_EQ(Codec().GetFrameInfo(nullptr, pal_.data(), 400000, nullptr), E_POINTER);
}

TEST(DvDescription, TellsDatesOfBothCenturiesAndNoneThatNoCalendarHas) {
    const std::tuple<BYTE, BYTE, BYTE, const char*> dates[] = {{0xC1, 0xE1, 0x00, "2000-01-01 "},
                                                               {0xF1, 0xF2, 0x74, "2074-12-31 "},
                                                               {0xC6, 0xE5, 0x75, "1975-05-06 "},
                                                               {0x09, 0x10, 0x99, "1999-10-09 "},
                                                               {0xF2, 0xE5, 0x04, ""},
                                                               {0xC0, 0xE5, 0x04, ""},
                                                               {0xC6, 0xF3, 0x04, ""},
                                                               {0xC6, 0xE0, 0x04, ""},
                                                               {0xC6, 0xE5, 0x0A, ""},
                                                               {0xC6, 0xE5, 0xA0, ""}};
    for (const auto& [day, month, year, text] : dates) {
        DvFrame frame = LoadFrame("dv25_625_4x3");
        frame.SetPackByte(0x62, 2, day);
        frame.SetPackByte(0x62, 3, month);
        frame.SetPackByte(0x62, 4, year);
        const std::string told = host::DescribeDvFrame(frame.data(), frame.size());
        EXPECT_NE(told.find(std::string("recorded ") + text + "07:08:09"), told.npos) << told;
    }
}

TEST_F(DvCodec, PicturesAreEncodedBySizeAndSettings) {
    using Settings = std::set<std::wstring>;
    const std::tuple<DWORD, Settings, LONG, LONG, LONG, DWORD, DWORD, DWORD> cases[] = {
        {kDv25, {}, 24, 720, 480, 0x51, 120000, 4},
        {kDv25, {}, 24, 720, -576, 0x91, 144000, 4},
        {kDv25, {}, 16, 856, 480, 0x451, 120000, 0},
        {kDv25, {}, 24, 1024, 576, 0x491, 144000, 4},
        {kDv25, {}, 32, 1024, -576, 0x491, 144000, 3},
        {kDv25, {L"dvcpro25"}, 24, 1024, 576, 0x492, 144000, 4},
        {kDv25, {L"dvcpro25", L"wide_screen"}, 24, 720, 480, 0x452, 120000, 4},
        {kDv50, {}, 24, 720, 480, 0x60, 240000, 4},
        {kDv50, {L"wide_screen"}, 16, 720, 576, 0x4A0, 288000, 0},
        {kDvHd, {}, 24, 1280, 1080, 0x472, 480000, 8},
        {kDvHd, {}, 24, 1440, 1080, 0x4B2, 576000, 8},
        {kDvHd, {}, 24, 960, 720, 0x475, 240000, 8},
        {kDvHd, {L"5060"}, 24, 960, 720, 0x4B5, 288000, 8},
    };
    for (const auto& [fourcc, settings, bits, width, height, flags, length, code] : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << flags << ' ' << width);
        for (const wchar_t* setting : {L"dvcpro25", L"wide_screen", L"5060"}) {
            WriteCodecSetting(fourcc, setting, settings.count(setting) != 0 ? 2 : 0);
        }
        codecs_.clear();
        const Picture picture{bits, width, height};
        std::generate(picture.Row(0), picture.Row(0) + picture.memory.size(),
                      [n = 0u]() mutable { return static_cast<BYTE>((n += 2654435761u) >> 24); });
        Bytes frame(576000);
        BITMAPINFOHEADER output = MakeHeader(fourcc, 24, width, picture.rows);
        CDvCodecBase& codec = Codec(fourcc);
        EXPECT_EQ(codec.GetMaxCompressedSize(&picture.header, false),
                  width == 960 ? 240000 : length);
        ASSERT_EQ(
            codec.Compress(&picture.header, false, picture.Row(0), &output, frame.data(), 0, 0, 0),
            S_OK);
        EXPECT_EQ(output.biSizeImage, length);
        const standin::Call call = LastCall(standin::kEncode);
        const bool squeezed = fourcc == kDv25 && width != 720;
        const bool bottomUp = bits != 16 && height > 0;
        const LONG rowBytes = (squeezed ? 720 : width) * bits / 8;
        const LONG first = bottomUp ? picture.rows - 1 : 0;
        EXPECT_EQ(WordsOf(call), Words(flags, frame.data(),
                                       squeezed ? call.words[2] : LONG_PTR(picture.Row(first)),
                                       bottomUp ? -rowBytes : rowBytes, bits / 8, code));
        // The stand-in puts the picture's first row into its frame.
        const Bytes rows =
            squeezed ? Resampled(picture, 720) : Bytes(picture.Row(0), picture.Row(picture.rows));
        EXPECT_EQ(std::memcmp(&rows[static_cast<std::size_t>(first * rowBytes)], frame.data(),
                              static_cast<std::size_t>(rowBytes)),
                  0);
    }
    Bytes frame(120000);
    BITMAPINFOHEADER output = MakeHeader(kDv25, 24, 720, 480);
    const auto encode = [&](const BITMAPINFOHEADER& input, const char* misbehaviour) {
        const test::Misbehaviour active(misbehaviour);
        const Picture picture{24, 1024, 576};
        return Codec().Compress(&input, false, picture.Row(0), &output, frame.data(), 0, 0, 0);
    };
    for (const char* misbehaviour : {"encode:access", "encode:longer"}) {
        EXPECT_EQ(encode(PictureHeader(24, 720, 480), misbehaviour), E_FAIL);
    }
    EXPECT_EQ(encode(MakeHeader(FourCC("v210"), 24, 720, 480), ""), E_FAIL);
    EXPECT_EQ(encode(PictureHeader(24, 640, 480), ""), E_FAIL) << "a squeeze cannot enlarge";
    for (const auto& [bits, width, height] :
         {std::tuple(32, 720, 480), {24, 720, 486}, {24, 1024, 480}}) {
        const BITMAPINFOHEADER picture = PictureHeader(bits, width, height);
        EXPECT_EQ(Codec().CompressQuery(&picture, false, &output), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_TRUE(bits == 32 || Codec().GetMaxCompressedSize(&picture, false) == 0u);
    }
    EXPECT_FALSE(Codec(kDv50).IsSupportedSize(856, 480) || Codec(kDvHd).IsSupportedSize(1280, 720));
}

/// Samples that stand for a frame in a file.
class DvReference : public DvCodec {
  protected:
    ~DvReference() override { codecs_.clear(); }  // and with them the file that one keeps open

    /// A sample that stands for the chunk at `offset` of a file of the folder.
    DvFrame Reference(DWORD offset, const std::string& file) const {
        const std::string path = file.empty() ? file : folder_ + file;
        DvFrame sample(test::Chunk("REF ", {0xEEEEEEEE, 0xEEEEEEEE}) +
                       Bytes(path.begin(), path.end()) + Bytes{0});
        std::memcpy(&sample[4], &offset, 4);
        return sample;
    }
    HRESULT Decode(DWORD offset, const std::string& file) {
        return DecodePal(Reference(offset, file), picture_);
    }

    /// Writes `gap` bytes and a chunk that claims `length` bytes of `frame`.
    void Write(const char* name, std::size_t gap, DWORD length, const DvFrame& frame) const {
        std::ofstream(folder_ + name, std::ios::binary)
            << std::string(gap, 'x') << "00dc"
            << std::string(reinterpret_cast<const char*>(&length), 4)
            << std::string(frame.data(), frame.data() + frame.size());
    }
    bool Delete(const char* name) const { return DeleteFileA((folder_ + name).c_str()) != FALSE; }

    const test::TemporaryFolder temporary_{L"dv references"};
    const std::wstring wide_ = temporary_.PathOf(L"");
    const std::string folder_{wide_.begin(), wide_.end()};
    const Picture picture_{16, 720, 576};
};

TEST_F(DvReference, StandsForTheFrameInItsFileWhichStaysOpenUntilAnotherComes) {
    Write("clip.avi", 1000, 144000, pal_);
    ASSERT_EQ(Decode(1000, "clip.avi") | Decode(1000, "clip.avi"), S_OK);
    EXPECT_TRUE(ShowsFrame(picture_.Row(100), 720, 100, pal_));
    EXPECT_FALSE(Delete("clip.avi")) << "open, shared for reading only";
    const DvFrame sample = Reference(1000, "clip.avi");
    const BITMAPINFOHEADER input = MakeHeader(kDv25, 24, 720, 576, sample.size());
    FrameInfo info;
    ASSERT_EQ(Codec().GetFrameInfo(&input, sample.data(), 400000, &info), S_OK);
    EXPECT_EQ(info.rdrtA, 0x0405C6FF);
    const Picture other{16, 720, 576};
    EXPECT_EQ(DvCodec::Decode(kDv50, 720, 576, sample, other), E_FAIL);
    EXPECT_TRUE(other.IsBlack()) << "other variants take it for a frame";

    // A frame that is itself a reference is followed, unless there is no end.
    for (const DvFrame& inner : {sample, Reference(0, "frame.avi")}) {
        DvFrame frame = DvFrame::Blank(144000);
        std::copy(inner.data(), inner.data() + inner.size(), &frame[0]);
        Write("frame.avi", 0, 144000, frame);
        EXPECT_EQ(Decode(0, "frame.avi"), inner.size() == sample.size() ? S_OK : E_FAIL);
        EXPECT_EQ(Decode(1000, "clip.avi"), S_OK);
    }
    EXPECT_TRUE(Delete("frame.avi"));
    EXPECT_EQ(Decode(0, "frame.avi"), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(Delete("clip.avi")) << "closed although the next one did not open";
    Write("last.avi", 0, 144000, pal_);
    ASSERT_EQ(Decode(0, "last.avi"), S_OK);
    codecs_.clear();
    EXPECT_TRUE(Delete("last.avi")) << "closed with its codec";
}

TEST_F(DvReference, WhatCannotBeReadIsRefusedAndLeavesNothingBehind) {
    Write("clip.avi", 0, 144000, pal_);
    Write("cut.avi", 0, 144000, pal_.Cut(143999));
    for (const DWORD length : {0u, 119999u, 240000u, 288000u}) {
        Write(std::to_string(length).c_str(), 0, length, pal_);
        EXPECT_EQ(Decode(0, std::to_string(length)), E_FAIL);
    }
    const std::tuple<DWORD, std::string, HRESULT> cases[] = {
        {0, "no.avi", HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {0, "", HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {0, std::string(MAX_PATH - 1 - folder_.size(), 'x'),
         HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {0, std::string(MAX_PATH - folder_.size(), 'x'),
         HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE)},
        {0, "cut.avi", HRESULT_FROM_WIN32(ERROR_HANDLE_EOF)},
        {144006, "cut.avi", HRESULT_FROM_WIN32(ERROR_HANDLE_EOF)},
        {0xFFFFFFFF, "cut.avi", HRESULT_FROM_WIN32(ERROR_HANDLE_EOF)},
    };
    test::Held held[2];
    for (test::Held& after : held) {
        for (const auto& [offset, file, result] : cases) {
            EXPECT_EQ(Decode(offset, file), result) << file << ' ' << offset;
        }
        after = test::CountHeld();
    }
    EXPECT_EQ(held[1].handles, held[0].handles);
    EXPECT_EQ(held[1].heapBlocks, held[0].heapBlocks);
    const DvFrame whole = Reference(0, "clip.avi");
    for (std::size_t size = 4; size < whole.size(); ++size) {
        const std::size_t claimed = size % 2 * (whole.size() + 200);
        EXPECT_EQ(DvCodec::Decode(kDv25, 720, 576, whole.Cut(size), picture_, 0, claimed), E_FAIL);
    }
    EXPECT_TRUE(picture_.IsUntouched());
    EXPECT_EQ(Decode(0, "clip.avi"), S_OK);
}

}  // namespace
}  // namespace nyx
