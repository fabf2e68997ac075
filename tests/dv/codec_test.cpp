/// DV frames to pictures and back, from samples or, by reference, from files.

#include <set>

#include "tests/dv/dv_codecs.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

TEST_F(DvCodec, TheEngineGetsSystemVariantAndLayout) {
    // Without an application ID a frame keeps its own. The codes are for 24 bits and full range;
    // those of 32 bits are one less, those of studio range two less.
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
            if (application) {
                frame.SetApplicationId(application);
            }
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

TEST_F(DvCodec, WideScreenPicturesAreStretchedUnlessOf32Bits) {
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
    const Picture deep{32, 1024, 576};
    EXPECT_EQ(DecodePal(pal_, deep), S_OK);
    EXPECT_TRUE(deep.IsUntouched());
}

TEST_F(DvCodec, ACallersStrideIsTopDownAndAnotherWidthKeepsTheRestOfEachRow) {
    const Picture apart{24, 720, 576, 2400};
    ASSERT_EQ(DecodePal(pal_, apart, 2400), S_OK);
    EXPECT_EQ(Words(LastCall().words[2], LastCall().words[3]), Words(apart.Row(0), 2400));
    EXPECT_EQ(apart.Row(0)[2160], kUntouched);
    const Picture padded{16, 736, 576};
    ASSERT_EQ(DecodePal(pal_, padded), S_OK);
    EXPECT_TRUE(ShowsFrame(padded.Row(575), 720, 575, pal_));
    EXPECT_TRUE(padded.Row(575)[1440] == kUntouched && padded.Row(575)[1471] == kUntouched);
}

TEST_F(DvCodec, AFrameThatFailsIsABlackPictureAndAnInvalidOneNeverReachesTheEngine) {
    struct Case {
        DvFrame frame;
        LONG bits, width, height, stride = 0;
        std::size_t claimed = 0;
        const char* misbehaviour = "";
    };
    std::vector<Case> cases = {
        {DvFrame::Blank(120000), 16, 720, 480},
        {DvFrame::Blank(120000), 24, 720, 480},
        {DvFrame::Blank(7), 32, 1024, 576},
        {DvFrame::Blank(120000), 16, 720, 480, 1500},
        {pal_.Cut(143999), 16, 720, 576},
        {pal_.Cut(132000), 16, 736, 576},
        {pal_.Cut(13000), 16, 720, 576},
        {pal_.Cut(100), 16, 720, 576, 0, 144000},  // shorter than they claim
        {pal_.Cut(0), 16, 720, 576, 0, 144000},
        {pal_, 16, 720, 480},  // frames of another height or variant
        {LoadFrame("dv25_525_4x3"), 16, 720, 576},
        {LoadFrame("dvcprohd_720_50"), 16, 720, 576},
    };
    for (const char* what : {"decode:access", "decode:divide", "decode:throw"}) {
        for (const LONG width : {720, 736, 1024}) {
            cases.push_back({pal_, 16, width, 576, 0, 0, what});
        }
    }
    const DWORD before = LastCall().count;
    for (const auto& [frame, bits, width, height, stride, claimed, what] : cases) {
        SCOPED_TRACE(testing::Message() << frame.size() << ' ' << width << ' ' << what);
        EXPECT_TRUE(*what || LastCall().count == before);
        const Misbehaviour misbehaviour(what);
        const Picture picture{bits, width, height, stride};
        EXPECT_EQ(Decode(kDv25, 720, height, frame, picture, stride, claimed), E_FAIL);
        EXPECT_TRUE(picture.IsBlack());
        EXPECT_TRUE(stride == 0 || picture.Row(0)[1440] == kUntouched);
    }
    const Picture narrower{16, 1280, 1080};
    EXPECT_EQ(Decode(kDvHd, 1280, 1080, LoadFrame("dvcprohd_1080_50"), narrower), E_FAIL);
    EXPECT_TRUE(narrower.IsBlack());
    const Picture readOnly{16, 720, 576};
    readOnly.memory.Protect();
    EXPECT_EQ(DecodePal(pal_.Cut(100), readOnly), E_FAIL) << "not even black";
    EXPECT_EQ(DecodePal(pal_, readOnly), E_FAIL);
}

TEST_F(DvCodec, ARefusedFrameLeavesThePictureUntouched) {
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
    const EngineSearch search(L"none");
    codecs_.clear();
    EXPECT_EQ(DecodePal(pal_, picture), E_FAIL);
    EXPECT_FALSE(CDv25Codec::IsEngineAvailable(kEngineForDecoding));
    EXPECT_TRUE(picture.IsUntouched());
}

TEST_F(DvCodec, FramesStateTheirParameters) {
    const GuardedMemory cutOff(Bytes(pal_.data(), pal_.data() + 100));
    const FrameInfo recorded = {1, 1024, 720, LONG(0xC1828304), -1, 0x0405C6FF, LONG(0xC78889FF)};
    const FrameInfo bySize = {.fieldOrder = 1, .pixelAspectX = 768, .pixelAspectY = 720};
    const std::tuple<const void*, HRESULT, FrameInfo> cases[] = {
        {pal_.data(), S_OK, recorded}, {nullptr, S_FALSE, bySize}, {cutOff.data(), S_OK, {}}};
    for (const auto& [frame, result, expected] : cases) {
        const BITMAPINFOHEADER input = MakeHeader(kDv25, 24, 720, 576, frame ? 144000 : 0);
        FrameInfo info = {9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(Codec().GetFrameInfo(&input, frame, 400000, &info), result);
        EXPECT_EQ(std::memcmp(&info, &expected, sizeof(info)), 0) << frame;
    }
    EXPECT_EQ(Codec().GetFrameInfo(nullptr, pal_.data(), 400000, nullptr), E_POINTER);
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
}

TEST_F(DvCodec, PicturesThatCannotBeEncodedAreRefused) {
    Bytes frame(120000);
    BITMAPINFOHEADER output = MakeHeader(kDv25, 24, 720, 480);
    const auto encode = [&](const BITMAPINFOHEADER& input, const char* misbehaviour) {
        const Misbehaviour active(misbehaviour);
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

/// Samples that refer to a frame in a file.
class DvReference : public DvCodec {
  protected:
    ~DvReference() override { codecs_.clear(); }  // and with them the file that one keeps open

    /// A sample that refers to the chunk at `offset` of a file of the folder.
    DvFrame Reference(DWORD offset, const std::string& file) const {
        const std::string path = file.empty() ? file : folder_ + file;
        DvFrame sample(Chunk("REF ", {0xEEEEEEEE, 0xEEEEEEEE}) + Bytes(path.begin(), path.end()) +
                       Bytes{0});
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

    const TemporaryFolder temporary_{L"dv references"};
    const std::wstring wide_ = temporary_.PathOf(L"");
    const std::string folder_{wide_.begin(), wide_.end()};
    const Picture picture_{16, 720, 576};
};

TEST_F(DvReference, RefersToAFrameInAFileThatStaysOpenUntilTheNext) {
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
    EXPECT_TRUE(other.IsBlack()) << "a frame to other variants";

    // A frame that is itself a reference is followed, unless the chain is endless.
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

TEST_F(DvReference, ToAnUnreadableFrameIsRefusedWithoutALeak) {
    Write("clip.avi", 0, 144000, pal_);
    Write("cut.avi", 0, 144000, pal_.Cut(143999));
    for (const DWORD length : {0u, 119999u, 240000u, 288000u}) {
        Write(std::to_string(length).c_str(), 0, length, pal_);
        EXPECT_EQ(Decode(0, std::to_string(length)), E_FAIL);
    }
    const std::tuple<DWORD, std::string, DWORD> cases[] = {
        {0, "no.avi", ERROR_FILE_NOT_FOUND},
        {0, "", ERROR_PATH_NOT_FOUND},
        {0, std::string(MAX_PATH - 1 - folder_.size(), 'x'), ERROR_FILE_NOT_FOUND},
        {0, std::string(MAX_PATH - folder_.size(), 'x'), ERROR_FILENAME_EXCED_RANGE},
        {0, "cut.avi", ERROR_HANDLE_EOF},
        {144006, "cut.avi", ERROR_HANDLE_EOF},
        {0xFFFFFFFF, "cut.avi", ERROR_HANDLE_EOF},
    };
    ExpectNothingKept([&] {
        for (const auto& [offset, file, error] : cases) {
            EXPECT_EQ(Decode(offset, file), HRESULT_FROM_WIN32(error)) << file << ' ' << offset;
        }
    });
    const DvFrame whole = Reference(0, "clip.avi");
    for (std::size_t size = 4; size < whole.size(); ++size) {
        const std::size_t claimed = size % 2 * (whole.size() + 200);
        EXPECT_EQ(DvCodec::Decode(kDv25, 720, 576, whole.Cut(size), picture_, 0, claimed), E_FAIL);
    }
    EXPECT_TRUE(picture_.IsUntouched());
    EXPECT_EQ(Decode(0, "clip.avi"), S_OK);
}

}  // namespace
}  // namespace nyx::test
