#include "codecs/lossless_codec.h"

#include <gtest/gtest.h>

#include <random>

#include "codecs/engine_records.h"
#include "codecs/pixel_format_index.h"
#include "convert/convert.h"
#include "tests/codecs/engine_codec_support.h"
#include "tests/codecs/stored_setting.h"

namespace nyx {
namespace {

using test::EncodePicture;
using test::MakeHeader;
using test::RgbHeader;
using test::SmoothPicture;
using test::Yuy2Header;

constexpr DWORD kLossless = FourCC("QLLC");
constexpr wchar_t kLibrary[] = L"rkllc.dll";
constexpr BYTE kGuard = 0x5A;

/// One stored kind with the input that leads to it.
struct Kind {
    BYTE kind;
    WORD bitCount;
    bool alpha;
    WORD streamBits;
};
constexpr Kind kKinds[] = {
    {0, 16, false, 24}, {1, 24, false, 24}, {2, 32, false, 32}, {3, 32, true, 32}};

BITMAPINFOHEADER InputOf(const Kind& kind, LONG width, LONG height) {
    return kind.bitCount == 16 ? Yuy2Header(width, height)
                               : RgbHeader(kind.bitCount, width, height);
}

std::vector<BYTE> RandomPicture(std::size_t size) {
    std::mt19937 random(11);
    std::vector<BYTE> picture(size);
    for (BYTE& byte : picture) {
        byte = static_cast<BYTE>(random());
    }
    return picture;
}

class LosslessCodec : public ::testing::Test {
  protected:
    test::EngineSearch search_;
    CLosslessCodec codec_;

    HRESULT Decode(const std::vector<BYTE>& sample, WORD bits, const BITMAPINFOHEADER& output,
                   bool alphaOut, std::vector<BYTE>* picture, ICodec* codec = nullptr) {
        const BITMAPINFOHEADER input = test::FrameHeaderFor(
            kLossless, bits, output.biWidth, std::abs(output.biHeight), sample.size());
        picture->assign(test::PictureBytes(output), kGuard);
        return (codec ? codec : &codec_)
            ->Decompress(&input, sample.data(), &output, alphaOut, picture->data(), 0, 0);
    }

    std::vector<BYTE> FrameOf(const Kind& kind, LONG width, LONG height) {
        const BITMAPINFOHEADER input = InputOf(kind, width, height);
        return EncodePicture(codec_, input, kind.alpha, SmoothPicture(input), kind.streamBits);
    }
};

TEST_F(LosslessCodec, BringsEveryKindBackToTheByte) {
    for (const Kind& kind : kKinds) {
        for (LONG height : {37, -37}) {
            const BITMAPINFOHEADER header = InputOf(kind, 62, height);
            for (const auto& picture :
                 {SmoothPicture(header), RandomPicture(test::PictureBytes(header))}) {
                const auto frame =
                    EncodePicture(codec_, header, kind.alpha, picture, kind.streamBits);
                ASSERT_GE(frame.size(), 2u);
                EXPECT_EQ(frame[1], kind.kind);
                std::vector<BYTE> back;
                ASSERT_EQ(Decode(frame, kind.streamBits, header, kind.alpha, &back), S_OK);
                EXPECT_EQ(back, picture) << int{kind.kind};
            }
        }
    }
}

TEST_F(LosslessCodec, HandsTheEngineItsSixArguments) {
    for (const Kind& kind : kKinds) {
        const BITMAPINFOHEADER input = InputOf(kind, 64, 48);
        const std::vector<BYTE> picture = SmoothPicture(input);
        BITMAPINFOHEADER output = MakeHeader(kLossless, kind.streamBits, 64, 48);
        std::vector<BYTE> frame(codec_.GetMaxCompressedSize(&input, kind.alpha));
        ASSERT_EQ(
            codec_.Compress(&input, kind.alpha, picture.data(), &output, frame.data(), 0, 0, 0),
            S_OK);
        const bool bottomUp = kind.bitCount != 16;
        const DWORD stride = 64u * kind.bitCount / 8;
        const auto first = [&](const std::vector<BYTE>& bytes) {
            return test::Word(bytes.data()) + (bottomUp ? 47 * stride : 0);
        };
        const DWORD signedStride = bottomUp ? 0u - stride : stride;
        standin::Call call = test::LastCall(kLibrary, standin::kEncode);
        EXPECT_EQ(test::Words(call), (std::vector<DWORD>{kind.kind, test::Word(frame.data()),
                                                         first(picture), signedStride, 64, 48}));
        frame.resize(output.biSizeImage + 64);  // room to read on, so that it is decoded in place
        const BITMAPINFOHEADER stream =
            test::FrameHeaderFor(kLossless, kind.streamBits, 64, 48, output.biSizeImage);
        std::vector<BYTE> back(picture.size());
        ASSERT_EQ(codec_.Decompress(&stream, frame.data(), &input, kind.alpha, back.data(), 0, 0),
                  S_OK);
        call = test::LastCall(kLibrary, standin::kDecode);
        EXPECT_EQ(test::Words(call), (std::vector<DWORD>{kind.kind, test::Word(frame.data()),
                                                         first(back), signedStride, 64, 48}));
    }
}

/// A picture through the conversion library, rows without gaps.
struct Conversion {
    LONG width, height;
    DWORD yuvFlags, rgbFlags;

    std::vector<BYTE> FromYuy2(std::vector<BYTE> picture, DWORD to) const {
        std::vector<BYTE> result(static_cast<std::size_t>(width * height * BytesPerPixel(to)));
        const ImagePlane source = {picture.data(), width * 2, 0};
        const ImagePlane destination = {result.data(), width * BytesPerPixel(to), 0};
        EXPECT_EQ(ConvertFromYuv(&source, nullptr, FourCC("YUY2"), yuvFlags, 0, &destination, to,
                                 rgbFlags, 0, width, height),
                  S_OK);
        return result;
    }
    std::vector<BYTE> ToYuy2(std::vector<BYTE> picture, DWORD from) const {
        std::vector<BYTE> result(static_cast<std::size_t>(width * height * 2));
        const ImagePlane source = {picture.data(), width * BytesPerPixel(from), 0};
        const ImagePlane destination = {result.data(), width * 2, 0};
        EXPECT_EQ(ConvertToYuv(&source, from, rgbFlags, nullptr, &destination, nullptr,
                               FourCC("YUY2"), yuvFlags, 0, width, height),
                  S_OK);
        return result;
    }
};

/// Definition and colour space with what they mean for the conversion and for clear pixels.
struct Colours {
    Conversion conversion;
    LONG colorSpace;
    DWORD matteBlack;
};
constexpr Colours kColours[] = {{{62, 37, 0, 1}, 0, 0},
                                {{62, 37, 0, 0}, 1, 0x101010},
                                {{960, 720, 2, 3}, 0, 0},
                                {{960, 720, 2, 2}, 5, 0x101010}};

std::vector<BYTE> OpaqueRgb(const std::vector<BYTE>& rgb, std::size_t from, std::size_t to) {
    std::vector<BYTE> result(rgb.size() / from * to, 0xFF);
    for (std::size_t pixel = 0; pixel < rgb.size() / from; ++pixel) {
        std::copy_n(&rgb[pixel * from], 3, &result[pixel * to]);
    }
    return result;
}

TEST_F(LosslessCodec, ConvertsEveryKindToEveryOutput) {
    for (const Colours& colours : kColours) {
        const Conversion& conversion = colours.conversion;
        const test::StoredSetting setting(kLossless, L"color_space", colours.colorSpace);
        CLosslessCodec codec;  // reads the setting
        EXPECT_EQ(codec.GetColorSpace(), colours.colorSpace);
        for (const Kind& kind : kKinds) {
            // Top-down, so that buffers compare row by row.
            const BITMAPINFOHEADER stored = InputOf(kind, conversion.width, -conversion.height);
            std::vector<BYTE> picture = SmoothPicture(stored);
            const auto frame = EncodePicture(codec, stored, kind.alpha, picture, kind.streamBits);
            ASSERT_FALSE(frame.empty());
            for (std::size_t at = 0; kind.alpha && at < picture.size(); at += 4) {
                if (picture[at + 3] == 0) {
                    std::memcpy(&picture[at], &colours.matteBlack, 4);
                }
            }
            const auto check = [&](WORD bits, bool alphaOut, const std::vector<BYTE>& expected) {
                const BITMAPINFOHEADER output =
                    bits == 16 ? Yuy2Header(conversion.width, conversion.height)
                               : RgbHeader(bits, conversion.width, -conversion.height);
                std::vector<BYTE> got;
                ASSERT_EQ(Decode(frame, kind.streamBits, output, alphaOut, &got, &codec), S_OK);
                EXPECT_TRUE(got == expected)
                    << "kind " << int{kind.kind} << " to " << bits << " alpha " << alphaOut
                    << " width " << conversion.width << " color_space " << colours.colorSpace;
            };
            if (kind.kind == 0) {
                check(24, false, conversion.FromYuy2(picture, FourCC("BGR3")));
                check(32, false, conversion.FromYuy2(picture, FourCC("BGRA")));
                check(32, true, conversion.FromYuy2(picture, FourCC("BGRA")));
                continue;
            }
            const std::size_t bytes = kind.bitCount / 8;
            check(16, false,
                  conversion.ToYuy2(picture, bytes == 3 ? FourCC("BGR3") : FourCC("BGRA")));
            if (kind.kind != 1) {
                check(24, false, OpaqueRgb(picture, bytes, 3));
            }
            if (kind.kind != 2) {
                check(32, false, OpaqueRgb(picture, bytes, 4));
            }
            if (kind.kind != 3) {
                check(32, true, OpaqueRgb(picture, bytes, 4));
            }
        }
    }
}

TEST_F(LosslessCodec, ConvertsIntoBottomUpAndWiderOutputs) {
    const auto frame = FrameOf(kKinds[1], 62, 37);
    const BITMAPINFOHEADER output = RgbHeader(32, 70, 37);
    const BITMAPINFOHEADER input = test::FrameHeaderFor(kLossless, 24, 62, 37, frame.size());
    const std::vector<BYTE> source = SmoothPicture(InputOf(kKinds[1], 62, 37));
    std::vector<BYTE> picture(70 * 37 * 4, kGuard);
    ASSERT_EQ(codec_.Decompress(&input, frame.data(), &output, false, picture.data(), 0, 0), S_OK);
    for (std::size_t y = 0; y < 37; ++y) {
        for (std::size_t x = 0; x < 70; ++x) {
            const BYTE* pixel = &picture[(y * 70 + x) * 4];
            if (x < 62) {
                ASSERT_EQ(std::memcmp(pixel, &source[(y * 62 + x) * 3], 3), 0);
                ASSERT_EQ(pixel[3], 0xFF);
            } else {
                ASSERT_EQ(pixel[0] & pixel[1] & pixel[2] & pixel[3], kGuard);
            }
        }
    }
}

TEST_F(LosslessCodec, RefusesUnknownKindsAndLayoutsAndWritesNothing) {
    const auto frame = FrameOf(kKinds[0], 62, 37);
    std::vector<BYTE> picture;
    for (BYTE kind : {BYTE{4}, BYTE{255}}) {
        auto unknown = frame;
        unknown[1] = kind;
        for (const BITMAPINFOHEADER& output : {Yuy2Header(62, 37), RgbHeader(32, 62, 37)}) {
            EXPECT_EQ(Decode(unknown, 24, output, false, &picture), E_FAIL) << int{kind};
            EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), kGuard));
        }
    }
    for (DWORD fourcc : {FourCC("v210"), FourCC("v408"), FourCC("b64a"), FourCC("2vuy")}) {
        const BITMAPINFOHEADER layout = MakeHeader(fourcc, 32, 62, 37);
        EXPECT_EQ(Decode(frame, 24, layout, false, &picture), E_FAIL);
        EXPECT_TRUE(EncodePicture(codec_, layout, false, picture, 24).empty());
    }
}

/// Two pages, the second of which can be taken away.
class Pages {
  public:
    static constexpr std::size_t kPage = 4096;
    Pages()
        : first_(static_cast<BYTE*>(VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE, PAGE_NOACCESS))) {
        VirtualAlloc(first_, kPage, MEM_COMMIT, PAGE_READWRITE);
    }
    ~Pages() { VirtualFree(first_, 0, MEM_RELEASE); }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    void Protect(DWORD protection) { VirtualAlloc(first_ + kPage, kPage, MEM_COMMIT, protection); }
    BYTE* end() { return first_ + kPage; }

  private:
    BYTE* first_;
};

TEST_F(LosslessCodec, CopiesAFrameOnlyWhenTheMemoryBehindItCannotBeRead) {
    const BITMAPINFOHEADER header = Yuy2Header(16, 8);
    const auto picture = SmoothPicture(header);
    const auto frame = EncodePicture(codec_, header, false, picture, 24);
    ASSERT_LT(frame.size(), Pages::kPage);
    struct Case {
        const char* name;
        DWORD protection;         // of the page behind, 0: not committed
        std::size_t bytesBehind;  // in the frame's own page
        bool copied;
    };
    const Case cases[] = {
        {"nothing behind", 0, 0, true},
        {"one byte too few", 0, 63, true},
        {"just enough", 0, 64, false},
        {"no access behind", PAGE_NOACCESS, 0, true},
        {"execute only behind", PAGE_EXECUTE, 0, true},
        {"readable behind", PAGE_READONLY, 0, false},
        {"writable behind", PAGE_READWRITE, 0, false},
        {"code behind", PAGE_EXECUTE_READ, 0, false},
    };
    for (const Case& c : cases) {
        Pages pages;
        if (c.protection != 0) {
            pages.Protect(c.protection);
        }
        BYTE* at = pages.end() - c.bytesBehind - frame.size();
        std::memcpy(at, frame.data(), frame.size());
        const BITMAPINFOHEADER input = test::FrameHeaderFor(kLossless, 24, 16, 8, frame.size());
        std::vector<BYTE> back(picture.size());
        ASSERT_EQ(codec_.Decompress(&input, at, &header, false, back.data(), 0, 0), S_OK) << c.name;
        EXPECT_EQ(back, picture) << c.name;
        const DWORD given = test::LastCall(kLibrary, standin::kDecode).words[1];
        EXPECT_EQ(given != reinterpret_cast<DWORD>(at), c.copied) << c.name;
    }
}

}  // namespace
}  // namespace nyx
