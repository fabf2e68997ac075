/// Frames of the lossless codec: conversions between kinds, and memory behind a frame.

#include "tests/codecs/engine_frames.h"

namespace nyx::test {
namespace {

constexpr wchar_t kLlc[] = L"rkllc.dll";

TEST_F(Frames, OfEveryLosslessKindDecodeToEveryOutput) {
    for (DWORD code = 0; code < 4; ++code) {  // definition and range
        const LONG width = code < 2 ? 62 : 960, height = code < 2 ? 37 : 720;
        registry_.Store(SettingsKey(kLossless), L"color_space", code % 2 == 0 ? 5 : 0);
        CLosslessCodec codec;
        for (int pair = 0; pair < 16; ++pair) {
            const int kind = pair / 4, to = pair % 4;
            SCOPED_TRACE(testing::Message() << kind << " to " << to << " code " << code);
            const Stream& stored = kLosslessStreams[kind];
            const std::size_t from = stored.pictureBits / 8u;
            const std::size_t bytes = kLosslessStreams[to].pictureBits / 8u;
            Bytes expected = SmoothPicture(PictureOf(stored.pictureBits, width, height)), picture;
            const Bytes frame = Coded(stored.name, expected, width, height);
            ASSERT_EQ(frame[1], kind);
            for (std::size_t i = 0; kind == 3 && to != 3 && i < expected.size(); i += 4) {
                std::fill_n(&expected[i], expected[i + 3] == 0 ? 3 : 0,
                            static_cast<BYTE>(code % 2 == 0 ? 0x10 : 0));
            }
            const DWORD rgb = std::max(from, bytes) == 4 ? kBgra : kBgr3;
            if (kind != to && (kind == 0 || to == 0)) {
                expected = Converted(expected, kind == 0 ? kYuy2 : rgb, to == 0 ? kYuy2 : rgb,
                                     width, height, code);
            } else if (kind != to) {  // the three colours, a fourth byte opaque
                Bytes repacked(expected.size() / from * bytes, 0xFF);
                for (std::size_t i = 0; i < expected.size() / from; ++i) {
                    std::copy_n(&expected[i * from], 3, &repacked[i * bytes]);
                }
                expected = repacked;
            }
            Stream asked = stored;
            asked.alpha = to == 3;
            ASSERT_EQ(Decode(asked, frame, PictureOf(static_cast<WORD>(8 * bytes), width, height),
                             &picture, 0, &codec),
                      S_OK);
            EXPECT_TRUE(picture == expected);
        }
    }
}

TEST_F(Frames, OfTheLosslessCodecAreCopiedOnlyBeforeUnreadableMemory) {
    const BITMAPINFOHEADER picture = Yuy2Header(16, 8);
    const Bytes source = SmoothPicture(picture), frame = Coded("lossless-yuy2", source, 16, 8);
    const BITMAPINFOHEADER input = MakeHeader(FourCC("QLLC"), 24, 16, 8, frame.size());
    for (const std::size_t behind : {0u, 63u, 64u}) {
        const GuardedMemory memory(frame + Bytes(behind));
        memory.Protect();
        Bytes back(source.size());
        EXPECT_EQ(
            codecs_.lossless.Decompress(&input, memory.data(), &picture, false, back.data(), 0, 0),
            S_OK);
        EXPECT_EQ(back, source);
        EXPECT_EQ(Last(kLlc, kDecode)[1] == Word(memory.data()), behind == 64);
    }
}

TEST_F(Frames, OfUnknownLosslessKindsNeverReachTheEngine) {
    const DWORD calls = LastCall(kLlc, kDecode).count;
    for (const BYTE kind : {BYTE{4}, BYTE{255}}) {
        Bytes picture;
        EXPECT_EQ(Decode(kStreams[4], {'L', kind, 'S', '1'}, Yuy2Header(16, 8), &picture), E_FAIL);
    }
    EXPECT_EQ(LastCall(kLlc, kDecode).count, calls);
}

}  // namespace
}  // namespace nyx::test
