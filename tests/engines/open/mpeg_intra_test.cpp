#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "codecs/engine_records.h"
#include "tests/engines/open/open_engine.h"

namespace nyx::test {
namespace {

std::vector<BYTE> LoadMpeg(const std::string& name) {
    std::ifstream file(NYX_MPEG_FRAMES "/" + name + ".m2v", std::ios::binary);
    std::vector<BYTE> bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
}

class OpenMpegIntra : public testing::Test {
  protected:
    LONG CodedHeight(const BYTE* frame, std::size_t size) const {
        MpegIntraState state = {};
        MpegIntraHeaderRecord record = {&state, frame, static_cast<DWORD>(size), {}};
        decode_(&record);
        return state.codedHeight;
    }

    LONG Decode(const BYTE* frame, std::size_t size, const GuardedPicture& picture, LONG width,
                LONG height, LONG dropped = 0) const {
        MpegIntraState state = {};
        MpegIntraCrop crop = {};
        crop.linesDroppedAtTop = dropped;
        MpegIntraPictureRecord record = {};
        record.state = &state;
        record.frame = frame;
        record.frameLength = static_cast<DWORD>(size);
        record.destination = picture.data();
        record.stride = picture.stride();
        record.bytesPerPixel = 2;
        record.width = width;
        record.height = height;
        record.crop = dropped > 0 ? &crop : nullptr;
        return decode_(&record);
    }

    OpenEngine engine_{L"rkm2vi01.dll"};
    MpegIntraEntry decode_ = engine_.Get<MpegIntraEntry>("m2vi_decode");
};

TEST_F(OpenMpegIntra, TellsTheCodedHeight) {
    const std::vector<BYTE> production = LoadMpeg("production_625");
    EXPECT_EQ(CodedHeight(production.data(), production.size()), 608);
    std::vector<BYTE> small = LoadMpeg("small");
    EXPECT_EQ(CodedHeight(small.data(), small.size()), 64);
    EXPECT_EQ(CodedHeight(small.data(), 6), 0) << "cut within the header";
    // 1080 lines are padded to 1088 by every encoder: the header's number counts. Height bits 8 to
    // 11 share a byte with the width's last ones.
    small[5] = static_cast<BYTE>((small[5] & 0xF0) | 0x4);
    small[6] = 0x38;
    EXPECT_EQ(CodedHeight(small.data(), small.size()), 1080);
    small[6] = 0x40;
    EXPECT_EQ(CodedHeight(small.data(), small.size()), 1088);
    EXPECT_EQ(CodedHeight(nullptr, 0), 0);
}

TEST_F(OpenMpegIntra, DropsLinesAtTheTop) {
    const std::vector<BYTE> frame = LoadMpeg("production_625");
    const GuardedPicture whole(720, 608, 2);
    const GuardedPicture cropped(720, 576, 2, 12, true);
    ASSERT_EQ(Decode(frame.data(), frame.size(), whole, 720, 608), 0);
    ASSERT_EQ(Decode(frame.data(), frame.size(), cropped, 720, 576, 32), 0);
    EXPECT_TRUE(cropped.IsIntact());
    const std::vector<BYTE> all = whole.Pixels();
    EXPECT_EQ(cropped.Pixels(), std::vector<BYTE>(all.begin() + 32 * 1440, all.end()));
}

TEST_F(OpenMpegIntra, PaintsBlackWhereThereIsNoSuchPicture) {
    const std::vector<BYTE> small = LoadMpeg("small");
    const std::vector<BYTE> noise(1000, 0x5A);
    const struct {
        const std::vector<BYTE>& frame;
        LONG width, height, dropped;
    } cases[] = {
        {small, 98, 64, 0},          {small, 96, 66, 0}, {small, 96, 64, 1},
        {small, 96, 64, 0x7FFFFFFF}, {noise, 96, 64, 0},
    };
    for (const auto& one : cases) {
        const GuardedPicture picture(one.width, one.height, 2);
        EXPECT_LT(
            Decode(one.frame.data(), one.frame.size(), picture, one.width, one.height, one.dropped),
            0);
        EXPECT_TRUE(picture.IsIntact());
        const std::vector<BYTE> pixels = picture.Pixels();
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            ASSERT_EQ(pixels[i], i % 2 == 0 ? 0x10 : 0x80);
        }
    }
}

// What an earlier frame's header said is forgotten.
TEST_F(OpenMpegIntra, EveryFrameStandsForItself) {
    const std::vector<BYTE> frame = LoadMpeg("small");
    const GuardedPicture first(96, 64, 2);
    ASSERT_EQ(Decode(frame.data(), frame.size(), first, 96, 64), 0);
    const std::vector<BYTE> headless(frame.begin() + 30, frame.end());
    const GuardedPicture picture(96, 64, 2);
    EXPECT_LT(Decode(headless.data(), headless.size(), picture, 96, 64), 0);
    const std::vector<BYTE> interlaced = LoadMpeg("small_interlaced");
    ASSERT_EQ(Decode(interlaced.data(), interlaced.size(), picture, 96, 64), 0);
    ASSERT_EQ(Decode(frame.data(), frame.size(), picture, 96, 64), 0);
    EXPECT_EQ(picture.Pixels(), first.Pixels());
}

TEST_F(OpenMpegIntra, SurvivesTruncationAtEveryLength) {
    for (const char* name : {"small", "small_420", "small_interlaced"}) {
        const std::vector<BYTE> frame = LoadMpeg(name);
        const GuardedPicture picture(96, 64, 2, 4);
        for (std::size_t size = 0; size < frame.size(); size += 1 + frame.size() / 2000) {
            GuardedMemory bytes(size);
            std::copy_n(frame.begin(), size, bytes.data());
            CodedHeight(bytes.data(), size);
            Decode(bytes.data(), size, picture, 96, 64);
            ASSERT_TRUE(picture.IsIntact()) << name << ' ' << size;
        }
    }
}

TEST_F(OpenMpegIntra, SurvivesDamage) {
    constexpr BYTE kBits[] = {1, 2, 4, 8, 16, 32, 64, 128};
    std::mt19937 random(17);
    const struct {
        const char* name;
        LONG width, height, dropped;
        int rounds;
    } kinds[] = {
        {"small", 96, 64, 0, 2000},
        {"small_420", 96, 64, 0, 1000},
        {"small_interlaced", 96, 64, 0, 1000},
        {"production_625", 720, 576, 32, 60},
    };
    for (const auto& kind : kinds) {
        const std::vector<BYTE> frame = LoadMpeg(kind.name);
        GuardedMemory bytes(frame.size());
        const GuardedPicture picture(kind.width, kind.height, 2, 4);
        for (int round = 0; round < kind.rounds; ++round) {
            std::copy(frame.begin(), frame.end(), bytes.data());
            // Half the rounds hit the headers, where little damage does much.
            const std::size_t reach = round % 2 == 0 ? frame.size() : 60;
            for (unsigned flips = 1 + random() % 8; flips > 0; --flips) {
                bytes.data()[random() % reach] ^= kBits[random() % 8];
            }
            CodedHeight(bytes.data(), bytes.size());
            Decode(bytes.data(), bytes.size(), picture, kind.width, kind.height, kind.dropped);
            ASSERT_TRUE(picture.IsIntact()) << kind.name << ' ' << round;
        }
    }
}

}  // namespace
}  // namespace nyx::test
