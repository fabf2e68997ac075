#include "codecs/working_rows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "convert/convert.h"

namespace nyx {
namespace {

using Word = std::uint16_t;
constexpr BYTE kGuard = 0xA5;

/// Working rows of a picture with an alpha plane.
struct Working {
    LONG width;
    LONG height;
    std::vector<Word> samples;
    std::vector<Word> alpha;

    Working(LONG w, LONG h)
        : width(w),
          height(h),
          samples(static_cast<std::size_t>(w * h * 2)),
          alpha(static_cast<std::size_t>(w * h)) {}

    BYTE* sampleBytes() { return reinterpret_cast<BYTE*>(samples.data()); }
    BYTE* alphaBytes() { return reinterpret_cast<BYTE*>(alpha.data()); }
    Word y(LONG x, LONG row) const { return At(row, 2 * x); }
    Word cb(LONG x, LONG row) const { return At(row, x / 2 * 4 + 1); }
    Word cr(LONG x, LONG row) const { return At(row, x / 2 * 4 + 3); }
    Word a(LONG x, LONG row) const { return alpha[static_cast<std::size_t>(row * width + x)]; }

  private:
    Word At(LONG row, LONG index) const {
        return samples[static_cast<std::size_t>(row * width * 2 + index)];
    }
};

Working RandomWorking(LONG width, LONG height, unsigned low, unsigned high) {
    Working working(width, height);
    std::mt19937 random(17);
    for (Word& sample : working.samples) {
        sample = static_cast<Word>(low + random() % (high - low + 1));
    }
    for (Word& alpha : working.alpha) {
        const unsigned pick = random() % 4;
        alpha = static_cast<Word>(pick == 0 ? 0 : (pick == 1 ? 1023 : random() % 1024));
    }
    return working;
}

BYTE ToByte(Word sample) {
    return static_cast<BYTE>(std::min((sample + 2) / 4, 255));
}

struct Callbacks {
    int index;
    LONG bytesPerPixel;
    WorkingRowsWriter* write[2];  // straight, premultiplied
    WorkingRowsReader* read[2];
};

template <int kIndex>
Callbacks CallbacksOf(LONG bytesPerPixel) {
    return {kIndex,
            bytesPerPixel,
            {&WriteWorkingRows<kIndex, AlphaUse::kStraight>,
             &WriteWorkingRows<kIndex, AlphaUse::kPremultiplied>},
            {&ReadWorkingRows<kIndex, AlphaUse::kStraight>,
             &ReadWorkingRows<kIndex, AlphaUse::kPremultiplied>}};
}

const Callbacks kCallbacks[] = {
    CallbacksOf<14>(4),  CallbacksOf<15>(4),  CallbacksOf<16>(4), CallbacksOf<17>(4),
    CallbacksOf<18>(8),  CallbacksOf<19>(8),  CallbacksOf<20>(8), CallbacksOf<21>(8),
    CallbacksOf<22>(16), CallbacksOf<23>(16), CallbacksOf<24>(2), CallbacksOf<25>(2),
};

const Callbacks& CallbacksOf(int index) {
    return kCallbacks[index - kIndexV408];
}

bool HasAlpha(int index) {
    return index == 15 || index == 17 || index == 20 || index == 21 || index == 23;
}

TEST(WorkingRows, KeepV210SamplesAsTheyAre) {
    for (LONG width : {2, 4, 6, 8, 48, 50}) {
        Working working = RandomWorking(width, 3, 0, 1023);
        const LONG bytes = (width + 5) / 6 * 16;
        const LONG stride = bytes + 16;
        std::vector<BYTE> packed(static_cast<std::size_t>(stride * 3), kGuard);
        WriteWorkingRows<13, AlphaUse::kStraight>(packed.data(), stride, working.sampleBytes(),
                                                  width * 4, nullptr, 0, width, 3);
        for (LONG row = 0; row < 3; ++row) {
            // Cb Y Cr, Y Cb Y, Cr Y Cb, Y Cr Y: three samples a word, from the lowest bits on.
            std::vector<Word> order;
            for (LONG x = 0; x < width; x += 2) {
                order.insert(order.end(), {working.cb(x, row), working.y(x, row),
                                           working.cr(x, row), working.y(x + 1, row)});
            }
            order.resize(static_cast<std::size_t>(bytes / 16 * 12));
            for (std::size_t word = 0; word < order.size() / 3; ++word) {
                DWORD got;
                std::memcpy(&got, &packed[static_cast<std::size_t>(row * stride) + word * 4], 4);
                EXPECT_EQ(got, DWORD{order[3 * word]} | DWORD{order[3 * word + 1]} << 10 |
                                   DWORD{order[3 * word + 2]} << 20);
            }
            EXPECT_EQ(packed[static_cast<std::size_t>(row * stride + bytes)], kGuard);
        }
        Working back(width, 3);
        ReadWorkingRows<13, AlphaUse::kStraight>(packed.data(), stride, back.sampleBytes(),
                                                 width * 4, back.alphaBytes(), width * 2, width, 3);
        EXPECT_EQ(back.samples, working.samples);
        EXPECT_EQ(back.alpha, std::vector<Word>(back.alpha.size(), 1023));
    }
}

TEST(WorkingRows, LeaveAV210PictureAloneWhoseRowsDoNotFit) {
    Working working = RandomWorking(48, 3, 0, 1023);
    std::vector<BYTE> packed(128 * 3, kGuard);
    for (LONG stride : {127, 96, 0, -127}) {
        WriteWorkingRows<13, AlphaUse::kStraight>(packed.data() + 128, stride,
                                                  working.sampleBytes(), 192, nullptr, 0, 48, 3);
        EXPECT_EQ(packed, std::vector<BYTE>(packed.size(), kGuard)) << stride;
    }
}

/// What the block writers store for the samples rounded to 8 bits.
std::vector<BYTE> EightBitPixel(int index, const Working& w, LONG x, LONG row) {
    const BYTE y = ToByte(w.y(x, row));
    const BYTE cb = ToByte(w.cb(x, row));
    const BYTE cr = ToByte(w.cr(x, row));
    const BYTE alpha = static_cast<BYTE>((w.a(x, row) * 255 + 511) / 1023);
    const BYTE fromBlack = static_cast<BYTE>(std::max(y - 16, 0));
    switch (index) {
        case 14:
            return {cb, y, cr, 235};
        case 15:
            return {cb, y, cr, static_cast<BYTE>((alpha * 219 + 127) / 255 + 16)};
        case 16:
            return {255, fromBlack, cb, cr};
        case 17:
            return {alpha, fromBlack, cb, cr};
        default:
            return {x % 2 == 0 ? cb : cr, y};
    }
}

TEST(WorkingRows, RoundToEightBitsAndStoreLikeTheBlockWriters) {
    constexpr LONG kWidth = 34;
    constexpr LONG kRows = 2;
    Working working = RandomWorking(kWidth, kRows, 0, 1023);
    for (int index : {14, 15, 16, 17, 24}) {
        const Callbacks& callbacks = CallbacksOf(index);
        const LONG bytes = callbacks.bytesPerPixel;
        const LONG stride = kWidth * bytes + 8;
        std::vector<BYTE> picture(static_cast<std::size_t>(stride * kRows), kGuard);
        callbacks.write[0](picture.data(), stride, working.sampleBytes(), kWidth * 4,
                           working.alphaBytes(), kWidth * 2, kWidth, kRows);
        for (LONG row = 0; row < kRows; ++row) {
            const BYTE* at = &picture[static_cast<std::size_t>(row * stride)];
            for (LONG x = 0; x < kWidth; ++x, at += bytes) {
                ASSERT_EQ(std::vector<BYTE>(at, at + bytes), EightBitPixel(index, working, x, row))
                    << "index " << index << " pixel " << x;
            }
            EXPECT_EQ(*at, kGuard);
        }
    }
}

TEST(WorkingRows, WriteB64aAsBigEndianFullRangeByTheIndexsMatrix) {
    constexpr LONG kWidth = 20;
    for (int definition : {0, 1}) {
        Working working = RandomWorking(kWidth, 1, 64, 940);
        std::vector<Word> deep(kWidth * 4);
        const ImagePlane source = {working.sampleBytes(), kWidth * 4, 0};
        const ImagePlane destination = {reinterpret_cast<BYTE*>(deep.data()), kWidth * 8, 0};
        ASSERT_EQ(ConvertFromYuv(&source, nullptr, FourCC("W210"),
                                 definition == 0 ? kYuvBt709 : kYuvBt601, 0, &destination,
                                 FourCC("A46L"), kRgbFullRange, 0, kWidth, 1),
                  S_OK);
        for (bool withAlpha : {false, true}) {
            const Callbacks& callbacks = CallbacksOf(kIndexB64a + definition + (withAlpha ? 2 : 0));
            for (int mode : {0, 1}) {
                std::vector<BYTE> picture(kWidth * 8);
                callbacks.write[mode](picture.data(), kWidth * 8, working.sampleBytes(), kWidth * 4,
                                      working.alphaBytes(), kWidth * 2, kWidth, 1);
                for (std::size_t i = 0; i < deep.size(); ++i) {
                    const Word a = working.a(static_cast<LONG>(i / 4), 0);
                    const DWORD alpha = withAlpha ? a * 65535u / 1023 : DWORD{65535};
                    DWORD expected = i % 4 == 0 ? alpha : deep[i];
                    if (i % 4 != 0 && mode == 1) {
                        expected = (expected * alpha + 32767) / 65535;
                    }
                    ASSERT_EQ(DWORD(picture[2 * i] << 8 | picture[2 * i + 1]), expected)
                        << callbacks.index << " mode " << mode << " channel " << i;
                }
            }
        }
    }
}

TEST(WorkingRows, ReadBackWhatTheyWrote) {
    constexpr LONG kWidth = 38;
    constexpr LONG kRows = 3;
    // Above black and inside the RGB cube, so that no layout clamps; multiples of 4 survive 8 bits.
    Working working(kWidth, kRows);
    std::mt19937 random(3);
    for (std::size_t i = 0; i < working.samples.size(); ++i) {
        const unsigned low = i % 2 == 0 ? 75 : 119;
        const unsigned span = i % 2 == 0 ? 100 : 18;
        working.samples[i] = static_cast<Word>((low + random() % span) * 4);
    }
    for (Word& alpha : working.alpha) {
        const BYTE byte = static_cast<BYTE>(128 + random() % 128);
        alpha = static_cast<Word>((byte * 1023 + 127) / 255);
    }
    for (const Callbacks& callbacks : kCallbacks) {
        for (int mode : {0, 1}) {
            if (mode == 1 && !HasAlpha(callbacks.index)) {
                continue;
            }
            const LONG stride = kWidth * callbacks.bytesPerPixel;
            std::vector<BYTE> picture(static_cast<std::size_t>(stride * kRows));
            // An opaque alpha plane for the layout without a channel, which puts it over black.
            const bool overBlack = callbacks.index == 25;
            callbacks.write[mode](picture.data(), stride, working.sampleBytes(), kWidth * 4,
                                  overBlack ? nullptr : working.alphaBytes(), kWidth * 2, kWidth,
                                  kRows);
            Working back(kWidth, kRows);
            callbacks.read[mode](picture.data(), stride, back.sampleBytes(), kWidth * 4,
                                 back.alphaBytes(), kWidth * 2, kWidth, kRows);
            const bool deepRgb = callbacks.index >= 18 && callbacks.index < 22;
            const int tolerance = mode == 1 ? 16 : (deepRgb ? 24 : 0);
            for (LONG row = 0; row < kRows; ++row) {
                for (LONG x = 0; x < kWidth; ++x) {
                    ASSERT_NEAR(back.y(x, row), working.y(x, row), tolerance)
                        << "index " << callbacks.index << " mode " << mode;
                    if (!deepRgb) {
                        ASSERT_NEAR(back.cb(x, row), working.cb(x, row), tolerance);
                        ASSERT_NEAR(back.cr(x, row), working.cr(x, row), tolerance);
                    }
                    const int alpha = HasAlpha(callbacks.index) ? working.a(x, row) : 1023;
                    ASSERT_NEAR(back.a(x, row), alpha, callbacks.index == 15 ? 5 : 1);
                }
            }
        }
    }
}

TEST(WorkingRows, KeepTenBitsInFloats) {
    Working working(4, 1);
    working.samples = {64, 512, 65, 512, 940, 513, 66, 511};
    float pixels[16];
    WriteWorkingRows<22, AlphaUse::kStraight>(reinterpret_cast<BYTE*>(pixels), 64,
                                              working.sampleBytes(), 16, nullptr, 0, 4, 1);
    EXPECT_EQ(pixels[0], 1.0f);
    EXPECT_EQ(pixels[1], 0.0f);
    EXPECT_EQ(pixels[2], 128 * 0.003921569f);
    EXPECT_EQ(pixels[5], 0.25f * 0.003921569f);
    EXPECT_EQ(pixels[9], 219 * 0.003921569f);
    EXPECT_EQ(pixels[10], 128.25f * 0.003921569f);
}

TEST(WorkingRows, DoNothingForNoRowsAndLeaveAnOddPixelAlone) {
    Working working = RandomWorking(6, 1, 0, 1023);
    for (const Callbacks& callbacks : kCallbacks) {
        std::vector<BYTE> picture(6 * 16, kGuard);
        callbacks.write[0](picture.data(), 96, working.sampleBytes(), 24, nullptr, 0, 5, 1);
        const auto written = static_cast<std::size_t>(4 * callbacks.bytesPerPixel);
        EXPECT_NE(picture[written - 1] == kGuard && picture[0] == kGuard, true);
        for (std::size_t at = written; at < picture.size(); ++at) {
            ASSERT_EQ(picture[at], kGuard) << callbacks.index;
        }
        callbacks.write[0](nullptr, 96, nullptr, 24, nullptr, 0, 6, 0);
        callbacks.write[0](nullptr, 96, nullptr, 24, nullptr, 0, 6, -1);
        callbacks.read[0](nullptr, 96, nullptr, 24, nullptr, 0, 0, 1);
    }
}

}  // namespace
}  // namespace nyx
