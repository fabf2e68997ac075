#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>

#include "tests/dv/dv_frames.h"
#include "tests/engines/open/open_engine.h"

namespace nyx::test {
namespace {

struct Kind {
    const char* clip;
    LONG flags;
    LONG width;
    LONG height;
    std::size_t frameBytes;
};

constexpr Kind kKinds[] = {
    {"dv25_525_4x3", 0x51, 720, 480, 120000},
    {"dv25_525_4x3", 0x52, 720, 480, 120000},
    {"dv25_625_16x9", 0x91, 720, 576, 144000},
    {"dvcpro25_625", 0x92, 720, 576, 144000},
    {"dvcpro50_525", 0x60, 720, 480, 240000},
    {"dvcpro50_625", 0xA0, 720, 576, 288000},
    {"dvcprohd_1080_60", 0x472, 1280, 1080, 480000},
    {"dvcprohd_1080_50", 0x4B2, 1440, 1080, 576000},
    {"dvcprohd_720_60", 0x474, 960, 720, 240000},
    {"dvcprohd_720_50", 0x4B4, 960, 720, 288000},
};

class OpenDvDecode : public testing::Test {
  protected:
    LONG Decode(const Kind& kind, const BYTE* frame, const GuardedPicture& picture,
                LONG bytesPerPixel = 2, LONG code = 0) const {
        return decode_(kind.flags, frame, picture.data(), picture.stride(), bytesPerPixel, code);
    }

    OpenEngine engine_{L"rkdvh.dll"};
    DvDecodeEntry decode_ = engine_.Get<DvDecodeEntry>("_dv_decode@24");
};

TEST_F(OpenDvDecode, KeepsToStrideSignAndPixelSize) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.flags);
        const DvFrame frame = LoadFrame(kind.clip, kind.frameBytes);
        for (const auto& [code, bytesPerPixel] : {std::pair<LONG, LONG>{0, 2}, {8, 3}, {7, 4}}) {
            const GuardedPicture packed(kind.width, kind.height, bytesPerPixel);
            const GuardedPicture upside(kind.width, kind.height, bytesPerPixel, 52, true);
            EXPECT_EQ(Decode(kind, frame.data(), packed, bytesPerPixel, code), 0);
            EXPECT_EQ(Decode(kind, frame.data(), upside, bytesPerPixel, code), 0);
            EXPECT_TRUE(packed.IsIntact());
            EXPECT_TRUE(upside.IsIntact());
            EXPECT_EQ(packed.Pixels(), upside.Pixels());
        }
    }
}

// Codes differ by range and by matrix; a 32-bit pixel is the 24-bit one and full alpha.
TEST_F(OpenDvDecode, ObeysTheOutputCodes) {
    const Kind& kind = kKinds[0];
    const DvFrame frame = LoadFrame(kind.clip, kind.frameBytes);
    std::vector<std::vector<BYTE>> pictures;
    for (const LONG code : {2, 4, 6, 8}) {
        const GuardedPicture rgb24(kind.width, kind.height, 3);
        const GuardedPicture rgb32(kind.width, kind.height, 4);
        ASSERT_EQ(Decode(kind, frame.data(), rgb24, 3, code), 0);
        ASSERT_EQ(Decode(kind, frame.data(), rgb32, 4, code - 1), 0);
        const std::vector<BYTE> three = rgb24.Pixels();
        const std::vector<BYTE> four = rgb32.Pixels();
        for (std::size_t i = 0; i < three.size() / 3; ++i) {
            ASSERT_TRUE(std::equal(&three[3 * i], &three[3 * i] + 3, &four[4 * i]));
            ASSERT_EQ(four[4 * i + 3], 255);
        }
        for (const auto& other : pictures) {
            EXPECT_NE(three, other);
        }
        pictures.push_back(three);
    }
}

TEST_F(OpenDvDecode, RefusesCallsThatMakeNoSense) {
    const Kind& kind = kKinds[0];
    const DvFrame frame = LoadFrame(kind.clip, kind.frameBytes);
    const GuardedPicture picture(kind.width, kind.height, 4);
    const auto refused = [&](LONG flags, LONG stride, LONG bytesPerPixel, LONG code) {
        return decode_(flags, frame.data(), picture.data(), stride, bytesPerPixel, code) < 0 &&
               picture.IsUntouched();
    };
    const LONG stride = kind.width * 4;
    EXPECT_TRUE(refused(0x11, stride, 2, 0)) << "no system";
    EXPECT_TRUE(refused(0xD1, stride, 2, 0)) << "two systems";
    EXPECT_TRUE(refused(0x53, stride, 2, 0)) << "no variant";
    EXPECT_TRUE(refused(0x51, stride, 2, 9)) << "no code";
    EXPECT_TRUE(refused(0x51, stride, 2, -1)) << "no code";
    EXPECT_TRUE(refused(0x51, stride, 3, 0)) << "another pixel size";
    EXPECT_TRUE(refused(0x51, kind.width * 2 - 1, 2, 0)) << "rows that overlap";
    EXPECT_TRUE(refused(0x51, 1 - kind.width * 2, 2, 0)) << "rows that overlap";
    EXPECT_LT(decode_(0x51, nullptr, picture.data(), stride, 2, 0), 0);
    EXPECT_LT(decode_(0x51, frame.data(), nullptr, stride, 2, 0), 0);
}

// The caller found the video source pack elsewhere, and the first header block is damaged.
TEST_F(OpenDvDecode, TakesTheSignalFromTheFlags) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.flags);
        DvFrame frame = LoadFrame(kind.clip, kind.frameBytes);
        const GuardedPicture whole(kind.width, kind.height, 2);
        ASSERT_EQ(Decode(kind, frame.data(), whole), 0);
        frame[3] ^= 0x80;
        frame[4] ^= 0x01;
        frame.Put(VauxPackByte(39), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
        const GuardedPicture damaged(kind.width, kind.height, 2);
        EXPECT_EQ(Decode(kind, frame.data(), damaged), 0);
        EXPECT_EQ(damaged.Pixels(), whole.Pixels());
    }
}

TEST_F(OpenDvDecode, SurvivesDamage) {
    constexpr BYTE kBits[] = {1, 2, 4, 8, 16, 32, 64, 128};
    std::mt19937 random(11);
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.flags);
        const DvFrame frame = LoadFrame(kind.clip, kind.frameBytes);
        GuardedMemory bytes(kind.frameBytes);
        const GuardedPicture picture(kind.width, kind.height, 2, 4);
        const int rounds = kind.height > 576 ? 40 : 150;
        for (int round = 0; round < rounds; ++round) {
            std::copy_n(frame.data(), kind.frameBytes, bytes.data());
            for (unsigned flips = 1 + random() % 300; flips > 0; --flips) {
                bytes.data()[random() % kind.frameBytes] ^= kBits[random() % 8];
            }
            Decode(kind, bytes.data(), picture);
            ASSERT_TRUE(picture.IsIntact());
        }
        for (const int fill : {0x00, 0xFF, 0x55}) {
            std::memset(bytes.data(), fill, kind.frameBytes);
            Decode(kind, bytes.data(), picture);
            ASSERT_TRUE(picture.IsIntact());
        }
    }
}

TEST_F(OpenDvDecode, ServesManyThreadsAtOnce) {
    constexpr int kThreads = 4;
    std::vector<std::vector<BYTE>> alone;
    std::vector<DvFrame> frames;
    for (const Kind& kind : kKinds) {
        frames.push_back(LoadFrame(kind.clip, kind.frameBytes));
        const GuardedPicture picture(kind.width, kind.height, 2);
        Decode(kind, frames.back().data(), picture);
        alone.push_back(picture.Pixels());
    }
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = 0; i < 2 * frames.size(); ++i) {
                const std::size_t at = (i + 3 * static_cast<std::size_t>(thread)) % frames.size();
                const GuardedPicture picture(kKinds[at].width, kKinds[at].height, 2);
                Decode(kKinds[at], frames[at].data(), picture);
                wrong += picture.Pixels() != alone[at];
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace nyx::test
