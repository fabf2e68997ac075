#include "dv/audio_source.h"

#include <gtest/gtest.h>

#include <array>

namespace nyx {
namespace {

using Pack = std::array<BYTE, 5>;

constexpr AudioRecord kStale = {7, 7, 7, 7, 7};

/// 16-bit 48 kHz, 525/60, one unlocked channel, AF_SIZE 20.
constexpr Pack kPlain = {0x50, 0xD4, 0x00, 0xC0, 0x80};

Pack With(std::size_t index, BYTE value, Pack pack = kPlain) {
    pack.at(index) = value;
    return pack;
}

void ExpectRecord(const Pack& pack, const AudioRecord& expected, HRESULT result) {
    AudioRecord record = kStale;
    EXPECT_EQ(DecodeAudioSourcePack(pack.data(), nullptr, &record), result);
    EXPECT_EQ(record.channels, expected.channels);
    EXPECT_EQ(record.bitsPerSample, expected.bitsPerSample);
    EXPECT_EQ(record.sampleRate, expected.sampleRate);
    EXPECT_EQ(record.samplesPerFrame, expected.samplesPerFrame);
    EXPECT_EQ(record.locked, expected.locked);
}

TEST(AudioSource, SamplesPerFrameCountFromTheRateAndSystem) {
    struct Case {
        BYTE smp;
        BYTE system;
        LONG rate;
        LONG samples;
    };
    constexpr Case kCases[] = {
        {0, 0x00, 48000, 1600}, {0, 0x20, 48000, 1916}, {1, 0x00, 44100, 1472},
        {1, 0x20, 44100, 1762}, {2, 0x00, 32000, 1073}, {2, 0x20, 32000, 1284},
    };
    for (const Case& c : kCases) {
        const Pack pack = With(3, static_cast<BYTE>(0xC0 | c.system),
                               With(4, static_cast<BYTE>(0x80 | c.smp << 3)));
        ExpectRecord(pack, {1, 16, c.rate, c.samples, 0}, S_OK);
    }
}

/// Fields without a meaning fail, but the others are read.
TEST(AudioSource, EachFieldAnswersForItself) {
    struct Case {
        std::size_t index;
        BYTE value;
        AudioRecord expected;
        HRESULT result;
    };
    constexpr Case kCases[] = {
        {1, 0xFE, {1, 16, 48000, 1580 + 62, 0}, S_OK},
        {1, 0xFF, {1, 16, 48000, 0, 0}, S_OK},     // the largest size means unknown
        {1, 0x54, {1, 16, 48000, 1600, 1}, S_OK},  // top bit clear: locked
        {4, 0x81, {1, 12, 32000, 1073, 0}, S_OK},  // 12 bits are always 32 kHz
        {4, 0x89, {1, 12, 32000, 1073, 0}, S_OK},
        {4, 0xB9, {1, 12, 32000, 1073, 0}, S_OK},
        {4, 0x82, {1, 20, 48000, 1600, 0}, S_OK},
        {4, 3, {1, 0, 48000, 1600, 0}, E_FAIL},
        {4, 7, {1, 0, 48000, 1600, 0}, E_FAIL},
        {4, 3 << 3, {1, 16, 0, 0, 0}, E_FAIL},
        {4, 7 << 3, {1, 16, 0, 0, 0}, E_FAIL},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(testing::Message() << "byte " << c.index << " is " << +c.value);
        ExpectRecord(With(c.index, c.value), c.expected, c.result);
    }
}

TEST(AudioSource, ChannelsFollowTheBlockAndModeFields) {
    constexpr LONG kNone = -1;
    constexpr LONG kExpected[2][16] = {
        {1, 1, 1, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone,
         kNone, 0},
        {2, 1, 2, 2, 2, 1, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, 0},
    };
    for (unsigned chn = 0; chn < 4; ++chn) {
        for (unsigned mode = 0; mode < 16; ++mode) {
            const LONG expected = chn < 2 ? kExpected[chn][mode] : kNone;
            const Pack pack = With(2, static_cast<BYTE>(chn << 5 | mode));
            SCOPED_TRACE(testing::Message() << "CHN " << chn << ", mode " << mode);
            ExpectRecord(pack, {expected == kNone ? 0 : expected, 16, 48000, 1600, 0},
                         expected == kNone ? E_FAIL : S_OK);
        }
    }
}

TEST(AudioSource, NoPackAndAnEmptyOneAreNoAudio) {
    AudioRecord record = kStale;
    EXPECT_EQ(DecodeAudioSourcePack(nullptr, nullptr, &record), S_OK);
    EXPECT_EQ(record.channels, 0);
    EXPECT_EQ(record.sampleRate, 0);
    ExpectRecord({0x50, 0xFF, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 0, 0}, S_OK);
    EXPECT_EQ(DecodeAudioSourcePack(kPlain.data(), nullptr, nullptr), E_POINTER);
}

TEST(AudioSource, APackOfTheOtherSystemIsNoAudioRatherThanAnError) {
    constexpr Pack k525 = {0x60, 0xFF, 0xFF, 0xC0, 0xFF};
    constexpr Pack k625 = {0x60, 0xFF, 0xFF, 0xE0, 0xFF};
    const Pack unsound = With(4, 0xFF);
    AudioRecord record = kStale;
    EXPECT_EQ(DecodeAudioSourcePack(unsound.data(), k625.data(), &record), S_OK);
    EXPECT_EQ(record.channels, 0);
    EXPECT_EQ(record.locked, 0);
    EXPECT_EQ(DecodeAudioSourcePack(unsound.data(), k525.data(), &record), E_FAIL);
    EXPECT_EQ(DecodeAudioSourcePack(kPlain.data(), k525.data(), &record), S_OK);
    EXPECT_EQ(record.channels, 1);
}

}  // namespace
}  // namespace nyx
