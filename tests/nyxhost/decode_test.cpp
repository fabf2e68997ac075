// Decoded pictures against ffmpeg's conversion of the same v210 frames, by way of 8 bits, and of
// the stand-in engines against their source pictures. YUY2 is equal; RGB is rounded differently. A
// wrong matrix, range, chroma position or row order costs far more.

#include "tests/nyxhost/nyxhost.h"
#include "tests/support/frames.h"

namespace nyx::test {
namespace {

/// Smooth pictures, rows from the top.
std::string Pictures(std::size_t width, std::size_t height, std::size_t pixelBytes, int count) {
    const auto header = PictureHeader(LONG(8 * pixelBytes), LONG(width), LONG(height));
    std::string all;
    for (int i = 0; i < count; ++i) {
        const auto picture = SmoothPicture(header, i);
        all.append(picture.begin(), picture.end());
    }
    return all;
}

TEST_F(RegisteredNyxHost, DecodesTenBitsAsFfmpegDoes) {
    struct Row {
        std::string clip, format;
        double bound;  ///< dB
    };
    // The first clip is the narrowest picture; the other has RGB24 rows that are not a multiple of
    // a DWORD.
    const Row rows[] = {{"natural-2", "yuy2", kEqual},
                        {"natural-2", "rgb32", 48},
                        {"zoneplate-722", "yuy2", kEqual},
                        {"zoneplate-722", "rgb32", 48},
                        {"zoneplate-722", "rgb24", 48}};
    for (const auto& [clip, format, bound] : rows) {
        Run(0, "decode " + clip + ".avi --format " + format + " --raw out.raw");
        const char* const colours = format == "rgb32" ? "1110" : "1111";
        EXPECT_GE(Psnr(Bytes("out.raw"), Bytes(clip + "." + format), colours), bound)
            << clip << " as " << format;
    }
}

TEST_F(RegisteredNyxHost, DecodesPartsOfAClip) {
    Run(0, "decode zoneplate-722.avi --format rgb24 --raw all.raw");
    fs::copy_file(folder.path / "zoneplate-722.avi", folder.path / L"\u00c4nderung \u5909.avi");
    Run(0,
        checks::Narrow(L"decode \"\u00c4nderung \u5909.avi\" --format rgb24 --from 0.05 --frames 1 "
                       L"--raw part.raw --out \"Bilder \u56f3\""),
        {"decoder: Rokka Q210 Decoder"});
    EXPECT_TRUE(Exists("Bilder \u56f3/\u00c4nderung \u5909-rgb24-00001.png"));
    const std::string all = Bytes("all.raw");
    EXPECT_TRUE(Bytes("part.raw") == all.substr(all.size() / 2)) << "the second frame";
    // Times beyond 2^31 units of 100 ns, and an end before the clip's.
    constexpr std::size_t kPicture = 48 * 16 * 2;
    Run(0, "decode long.avi --format yuy2 --raw all.raw");
    Run(0, "decode long.avi --format yuy2 --from 3:38 --frames 2 --raw part.raw");
    EXPECT_TRUE(Bytes("part.raw") == Bytes("all.raw").substr(218 * kPicture, 2 * kPicture));
    Run(0, "play zoneplate-722.avi --from 1f --frames 1", {"filter: Rokka Q210 Decoder"});
}

// A quantiser step of 5 leaves a mean squared error of at most 6.25, 40.2 dB; lossless frames are
// equal bit by bit. Alpha is exact, and clear pixels are cleaned.
TEST_F(RegisteredNyxHost, DecodesWhatTheStandInsEncode) {
    Use({Engines(L"standin")});
    struct Row {
        std::string coding, format;
        std::size_t width, height, pixelBytes;
        double bound;  ///< dB
        std::string options;
    };
    const Row rows[] = {
        {"zeta", "yuy2", 720, 576, 2, 40.2, ""},
        {"zeta2-alpha", "argb32", 720, 576, 4, kEqual, ""},
        {"lossless-rgb24", "rgb24", 720, 486, 3, kEqual, ""},
        {"mpeg2", "yuy2", 720, 576, 2, 40.2, "5 32"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.coding);
        const std::string pictures = Pictures(row.width, row.height, row.pixelBytes, 2);
        Write("pictures.raw", pictures);
        const std::string encode = row.coding + " " + std::to_string(row.width) + "x" +
                                   std::to_string(row.height) + " 25/1 pictures.raw " + row.coding +
                                   ".avi " + row.options;
        const std::wstring program = L'"' + Engines(L"standin") + L"\\standin_encode.exe\" ";
        EXPECT_EQ(RunIn(folder.path, program + checks::Widen(encode)).code, 0u);
        Run(0, "decode " + row.coding + ".avi --format " + row.format + " --raw decoded.raw");
        std::string decoded = Bytes("decoded.raw");
        if (row.format != "yuy2") {
            decoded = Turned(decoded, row.width * row.pixelBytes, row.height);
        }
        EXPECT_GE(Psnr(decoded, pictures, row.format == "argb32" ? "0001" : "1111"), row.bound);
    }
    Run(5, "decode zeta.avi --format argb32");
    Run(0, "bench zeta.avi --format yuy2 --repeat 2 --graphs 2",
        {"in parallel: 4 frames", "pictures: the same from the file and from memory",
         "pass 2: 2 frames"});
}

// A quantiser step of 4 costs 47 dB; RGB also loses half of its chroma and is rounded twice.
TEST_F(RegisteredNyxHost, EncodesWhatItDecodesAgain) {
    Use({Engines(L"standin")});
    const std::string pictures = " --size 720x480 --rate 30000/1001";
    const std::string quality = " --quant 4 --max-size 100";
    Run(0, "decode clip.avi --format yuy2 --raw yuy2.raw");
    std::string argb = Pictures(720, 480, 4, 3);
    for (std::size_t i = 3; i < argb.size(); i += 4) {
        argb[i] = '\x80';
    }
    Write("argb.raw", argb);
    Write("rgb24.raw", Pictures(720, 480, 3, 3));
    struct Row {
        std::string format, input, original, options;
        double bound;  ///< dB
    };
    for (const Row& row : {Row{"yuy2", "clip.avi", "yuy2.raw", "", 44},
                           {"argb32", "argb.raw", "argb.raw", " --argb" + pictures, 39},
                           {"rgb24", "rgb24.raw", "rgb24.raw", " --rgb24" + pictures, 39}}) {
        Run(0, "encode " + row.input + " zeta.avi" + quality + row.options,
            {"encoder: Rokka Zeta Encoder, preset 4: quantiser 4, at most 100 % of a 4:2:2 picture",
             "3 frames in"});
        Run(0, "decode zeta.avi --format " + row.format + " --raw back.raw");
        EXPECT_GE(Psnr(Bytes("back.raw"), Bytes(row.original)), row.bound) << row.input;
    }
    // Top-down rows give the same frames.
    Write("turned.raw", Turned(Bytes("rgb24.raw"), 720 * 3, 480));
    Run(0, "encode turned.raw turned.avi --rgb24 --size 720x-480 --rate 30000/1001" + quality);
    EXPECT_TRUE(Bytes("turned.avi") == Bytes("zeta.avi"));
    // A preset, a budget, a fault.
    Run(0, "encode rgb24.raw preset.avi --preset 1 --rgb24" + pictures,
        {"preset 1: quantiser 4, at most 40 %"});
    Run(0, "encode clip.avi small.avi --quant 4 --max-size 5");
    EXPECT_LT(Bytes("small.avi").size(), 3 * 720 * 486 * 2 * 5 / 100 + 65536u);
    variables[L"NYX_STANDIN"] = L"encode:access";
    Run(6, "encode rgb24.raw failed.avi --rgb24" + pictures,
        {"frame 2 could not be encoded: E_FAIL"});
}

}  // namespace
}  // namespace nyx::test
