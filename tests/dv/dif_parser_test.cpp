#include "dv/dif_parser.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/dv/dv_frames.h"

namespace nyx {
namespace {

using test::DvFrame;
using test::LoadFrame;

constexpr HRESULT kRecognised = 1;

struct Parsed {
    explicit Parsed(const DvFrame& frame) { result = parser.Parse(frame.data(), frame.size()); }
    const FormatRecord& Format() const { return parser.State().format; }

    CLvtDifParser parser;
    HRESULT result = S_OK;
};

struct Variant {
    const char* clip;
    std::size_t frameBytes;
    LONG formatCode;
    LONG systemRate;
    LONG fourCC;
    LONG aspectX;
    LONG aspectY;
    LONG width;
    LONG height;
    LONG fieldOrder;
    DWORD channels;
    LONG audioSamples;
};

constexpr Variant kVariants[] = {
    {"dv25_525_4x3", 120000, kFormatDvcPro25, 60, kFourCCDv25, 648, 720, 720, 480, 1, 1, 1600},
    {"dv25_525_16x9", 120000, kFormatDvcPro25, 60, kFourCCDv25, 864, 720, 720, 480, 1, 1, 1600},
    {"dv25_625_4x3", 144000, kFormatDv25, 50, kFourCCDv25, 768, 720, 720, 576, 1, 1, 1920},
    {"dv25_625_16x9", 144000, kFormatDv25, 50, kFourCCDv25, 1024, 720, 720, 576, 1, 1, 1920},
    {"dvcpro25_625", 144000, kFormatDvcPro25, 50, kFourCCDv25, 768, 720, 720, 576, 1, 1, 1920},
    {"dvcpro50_525", 240000, kFormatDvcPro50, 60, kFourCCDv50, 648, 720, 720, 480, 1, 2, 1600},
    {"dvcpro50_625", 288000, kFormatDvcPro50, 50, kFourCCDv50, 1024, 720, 720, 576, 1, 2, 1920},
    {"dvcprohd_1080_60", 480000, kFormatDvcProHd1080, 60, kFourCCDvHd, 1920, 1280, 1280, 1080, 0, 4,
     1600},
    {"dvcprohd_1080_50", 576000, kFormatDvcProHd1080, 50, kFourCCDvHd, 1920, 1440, 1440, 1080, 0, 4,
     1920},
    {"dvcprohd_720_60", 240000, kFormatDvcProHd720, 60, kFourCCDvHd, 1280, 960, 960, 720, 2, 2,
     1600},
    {"dvcprohd_720_50", 288000, kFormatDvcProHd720, 50, kFourCCDvHd, 1280, 960, 960, 720, 2, 2,
     1920},
};

TEST(DifParser, EveryVariantOfRealFramesIsRecognised) {
    for (const Variant& variant : kVariants) {
        const DvFrame frame = LoadFrame(variant.clip, variant.frameBytes);
        const Parsed parsed(frame);
        SCOPED_TRACE(variant.clip);
        EXPECT_EQ(parsed.result, kRecognised);
        EXPECT_EQ(parsed.parser.GetFormatCode(), variant.formatCode);
        EXPECT_EQ(parsed.parser.GetSystemRate(), variant.systemRate);
        EXPECT_EQ(parsed.parser.GetFieldOrder(), variant.fieldOrder);
        EXPECT_EQ(parsed.parser.GetPixelAspect(), std::make_pair(variant.aspectX, variant.aspectY));
        EXPECT_EQ(parsed.Format().fourCC, variant.fourCC);
        EXPECT_EQ(parsed.Format().frameBytes, static_cast<LONG>(variant.frameBytes));
        EXPECT_EQ(parsed.Format().codedWidth, variant.width);
        EXPECT_EQ(parsed.Format().codedHeight, variant.height);
        EXPECT_EQ(parsed.parser.State().channelCount, variant.channels);
        EXPECT_EQ(parsed.parser.State().audioSamplesPerFrame, variant.audioSamples);
        for (std::size_t slot = 0; slot < 2 * variant.channels; ++slot) {
            EXPECT_EQ(parsed.parser.State().audio[slot].channels, 1);
            EXPECT_EQ(parsed.parser.State().audio[slot].sampleRate, 48000);
            EXPECT_EQ(parsed.parser.State().audio[slot].bitsPerSample, 16);
        }
    }
}

TEST(DifParser, PayloadsAreTheFourBytesOfTheirPacks) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000, 1);
    Parsed parsed(frame);
    EXPECT_EQ(parsed.parser.GetTimecodePack(), static_cast<LONG>(0xC1828305u));
    EXPECT_EQ(parsed.parser.GetRecDatePack(), 0x0405C6FF);
    EXPECT_EQ(parsed.parser.GetRecTimePack(), static_cast<LONG>(0xC78889FFu));
    EXPECT_EQ(parsed.parser.GetBinaryGroupPack(), -1);

    frame.Put(12273, {0x14, 0x12, 0x34, 0x56, 0x78});
    EXPECT_EQ(Parsed(frame).parser.GetBinaryGroupPack(), 0x78563412);
    EXPECT_EQ(Parsed(frame).parser.State().binaryGroupPayload.state, 0);
    EXPECT_EQ(Parsed(frame).parser.State().timecodePayload.value, -1);

    for (const BYTE id : {BYTE{0x13}, BYTE{0x62}, BYTE{0x63}}) {
        frame.RemovePacks(id);
    }
    parsed = Parsed(frame);
    EXPECT_EQ(parsed.parser.GetTimecodePack(), -1);
    EXPECT_EQ(parsed.parser.GetRecDatePack(), -1);
    EXPECT_EQ(parsed.parser.GetRecTimePack(), -1);
    EXPECT_EQ(parsed.result, kRecognised);
}

TEST(DifParser, ADecksPackPlacesGiveTheSameAnswers) {
    for (const Variant& variant : kVariants) {
        DvFrame frame = LoadFrame(variant.clip, variant.frameBytes);
        const Parsed before(frame);
        frame.LayOutLikeADeck();
        const Parsed after(frame);
        SCOPED_TRACE(variant.clip);
        EXPECT_EQ(after.result, kRecognised);
        EXPECT_EQ(std::memcmp(&after.Format(), &before.Format(), sizeof(FormatRecord)), 0);
        EXPECT_EQ(after.parser.GetTimecodePack(), before.parser.GetTimecodePack());
        EXPECT_EQ(after.parser.GetRecDatePack(), before.parser.GetRecDatePack());
        EXPECT_EQ(after.parser.GetRecTimePack(), before.parser.GetRecTimePack());
    }
}

TEST(DifParser, TheVideoSourceMayTravelAnywhere) {
    DvFrame frame = LoadFrame("dv25_525_16x9", 120000);
    frame.RemovePacks(0x60);
    frame.Put(7 * 12000 + test::SubcodePackByte(11), {0x60, 0xFF, 0xFF, 0xC0, 0xFF});
    EXPECT_EQ(Parsed(frame).result, kRecognised);
    EXPECT_EQ(Parsed(frame).Format().pixelAspectX, 864);
}

TEST(DifParser, WithoutAVideoSourceNothingIsKnown) {
    DvFrame frame = LoadFrame("dv25_525_4x3", 120000);
    frame.RemovePacks(0x60);
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, E_FAIL);
    const std::vector<BYTE> ones(sizeof(FormatRecord), 0xFF);
    EXPECT_EQ(std::memcmp(&parsed.Format(), ones.data(), ones.size()), 0);
    EXPECT_NE(parsed.parser.GetTimecodePack(), -1) << "what was found is readable";
}

TEST(DifParser, WithoutASourceControlTheAspectIsUnknown) {
    DvFrame frame = LoadFrame("dvcpro50_625", 288000);
    frame.RemovePacks(0x61);
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, E_FAIL);
    EXPECT_EQ(parsed.parser.GetPixelAspect(), std::make_pair(LONG{-1}, LONG{-1}));
}

TEST(DifParser, TheFirstOfContradictingSourcesCounts) {
    DvFrame frame = LoadFrame("dv25_525_4x3", 120000);
    frame.SetPackByte(0x61, 2, 0xCA);
    frame.Put(453, {0x61, 0x3F, 0xC8, 0xFC, 0xFF});
    EXPECT_EQ(Parsed(frame).Format().pixelAspectX, 648);
    frame.Put(453, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(Parsed(frame).Format().pixelAspectX, 864);
}

TEST(DifParser, HighDefinitionNeedsAWideAspect) {
    DvFrame frame = LoadFrame("dvcprohd_1080_60", 480000);
    frame.SetPackByte(0x61, 2, 0xC8);
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, E_FAIL);
    EXPECT_EQ(parsed.parser.GetFormatCode(), -1);
    EXPECT_EQ(parsed.parser.GetFieldOrder(), 0);
    frame.SetPackByte(0x61, 2, 0xCF);
    EXPECT_EQ(Parsed(frame).result, kRecognised);
}

TEST(DifParser, TheSecond1080LineTypeIsRecognised) {
    DvFrame frame = LoadFrame("dvcprohd_1080_50", 576000);
    frame.SetPackByte(0x60, 3, 0xF5);
    EXPECT_EQ(Parsed(frame).result, kRecognised);
    EXPECT_EQ(Parsed(frame).parser.GetFormatCode(), kFormatDvcProHd1080Type15);
}

TEST(DifParser, TheApplicationIdTellsDv25FromDvcPro25) {
    DvFrame frame = LoadFrame("dv25_525_4x3", 120000);
    frame.SetApplicationId(0);
    EXPECT_EQ(Parsed(frame).parser.GetFormatCode(), kFormatDv25);
    frame.SetPackByte(0x50, 1, 0x54);
    EXPECT_EQ(Parsed(frame).parser.GetFormatCode(), kFormatDv25Locked);
    EXPECT_EQ(Parsed(frame).parser.State().audio[0].locked, 1);
    frame.SetPackByte(0x50, 4, 0x88);
    EXPECT_EQ(Parsed(frame).parser.GetFormatCode(), kFormatDv25) << "44.1 kHz";
    frame.SetApplicationId(1);
    EXPECT_EQ(Parsed(frame).parser.GetFormatCode(), kFormatDvcPro25);
}

TEST(DifParser, AudioIsLockedWhenAnyHalfSaysSo) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    // The second half's pack: audio block 3 of sequence 6.
    frame[6 * 12000 + test::AudioPackByte(3) + 1] &= 0x7F;
    EXPECT_EQ(Parsed(frame).parser.GetFormatCode(), kFormatDv25Locked);
    EXPECT_EQ(Parsed(frame).parser.State().audio[0].locked, 0);
    EXPECT_EQ(Parsed(frame).parser.State().audio[1].locked, 1);
    frame[6 * 12000 + test::AudioPackByte(3) + 1] |= 0x80;
    frame[12000 + test::AudioPackByte(0) + 1] &= 0x7F;
    frame[test::AudioPackByte(3) + 1] &= 0x7F;
    EXPECT_EQ(Parsed(frame).parser.GetFormatCode(), kFormatDv25Locked);
    EXPECT_EQ(Parsed(frame).parser.State().audio[1].locked, 0);
}

TEST(DifParser, AnUnknownApplicationIsNotRecognisedUnlessTheSignalTypeTells) {
    DvFrame dv25 = LoadFrame("dv25_625_4x3", 144000);
    dv25.SetApplicationId(7);
    EXPECT_EQ(Parsed(dv25).result, E_FAIL);
    EXPECT_EQ(Parsed(dv25).Format().codedHeight, 576) << "what was found is readable";
    DvFrame dvcPro50 = LoadFrame("dvcpro50_625", 288000);
    dvcPro50.SetApplicationId(7);
    EXPECT_EQ(Parsed(dvcPro50).result, kRecognised);
}

TEST(DifParser, TwelveBitAudioAndFourChannels) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    frame.EditPacks(0x50, [](BYTE* pack) {
        pack[1] = 0xC0 | 16;
        pack[2] = 0x20;
        pack[4] = 0x91;
    });
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, kRecognised);
    EXPECT_EQ(parsed.parser.State().audioChannels, 4);
    EXPECT_EQ(parsed.parser.State().audio[1].bitsPerSample, 12);
    EXPECT_EQ(parsed.parser.State().audio[1].sampleRate, 32000);
    EXPECT_EQ(parsed.parser.State().audioSamplesPerFrame, 1280);
}

TEST(DifParser, AnOddChannelCountIsRoundedUp) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    frame[12 * 6000 + test::AudioPackByte(3) + 2] = 0x0F;
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.parser.State().audioChannels, 1);
    EXPECT_EQ(parsed.parser.State().audioChannelsEven, 2);
}

TEST(DifParser, AudioOfTheOtherSystemIsNoAudio) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    frame.SetPackByte(0x50, 3, 0xC0);
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, kRecognised);
    EXPECT_EQ(parsed.parser.State().audioChannels, 0);
}

TEST(DifParser, AnUnsoundAudioPackIsNotRecognisedButTheRestIsRead) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    frame.SetPackByte(0x50, 4, 0x87);
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, E_FAIL);
    EXPECT_EQ(parsed.parser.GetPixelAspect().first, 768);
}

TEST(DifParser, HeadersThatDenyAudioHideTheFirstHalf) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    for (std::size_t sequence = 0; sequence < 12; ++sequence) {
        frame[sequence * 12000 + 5] |= 0x80;
    }
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, kRecognised);
    EXPECT_EQ(parsed.parser.State().audioSource[0], nullptr);
    EXPECT_EQ(parsed.parser.State().audio[0].channels, 0);
}

TEST(DifParser, AFrameWithoutAudioPacksHasNoAudio) {
    const DvFrame frame = LoadFrame("dv25_625_silent", 144000);
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.result, kRecognised);
    EXPECT_EQ(parsed.parser.State().audioChannels, 0);
    EXPECT_EQ(parsed.parser.GetFormatCode(), kFormatDv25);
}

TEST(DifParser, AProgressiveDv25FrameIsReportedSo) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    frame.SetPackByte(0x61, 3, 0xF4);
    const Parsed parsed(frame);
    EXPECT_EQ(parsed.parser.GetFieldOrder(), 2);
    EXPECT_EQ(parsed.Format().frameStructure, 0);
}

TEST(DifParser, TheFrameRatePackCountsOnlyWithItsCheckByte) {
    DvFrame frame = LoadFrame("dvcprohd_720_60", 240000);
    frame.Put(468, {0x64, 0x80, 0x24, 0x03, (0x80 + 0x24 + 0x03) ^ 0x55});
    EXPECT_EQ(Parsed(frame).Format().recordedRateNum, 24000);
    EXPECT_EQ(Parsed(frame).Format().rateCode, 3);
    frame[472] ^= 0x10;
    EXPECT_EQ(Parsed(frame).Format().recordedRateNum, 60000);
    EXPECT_EQ(Parsed(frame).Format().rateCode, 15);
    EXPECT_EQ(Parsed(frame).result, kRecognised);
}

TEST(DifParser, AFrameOfNoKnownSizeStillTellsItsPicture) {
    const DvFrame whole = LoadFrame("dv25_625_4x3", 144000);
    CLvtDifParser parser;
    EXPECT_EQ(parser.Parse(whole.data(), 143999), kRecognised);
    EXPECT_EQ(parser.State().sequenceCount, 11u);
    EXPECT_EQ(parser.State().sequencesPerChannel, 0u);
    EXPECT_EQ(parser.State().channelCount, 0u);
    EXPECT_EQ(parser.State().audioChannels, 0);
    EXPECT_EQ(parser.GetPixelAspect().first, 768);
}

TEST(DifParser, ASecondParseForgetsTheFirst) {
    const DvFrame real = LoadFrame("dvcprohd_1080_50", 576000);
    const DvFrame blank = DvFrame::Blank(144000);
    Parsed parsed(real);
    EXPECT_EQ(parsed.parser.Parse(blank.data(), blank.size()), E_FAIL);
    EXPECT_EQ(parsed.parser.State().videoSource, nullptr);
    EXPECT_EQ(parsed.parser.State().audioSource[7], nullptr);
    EXPECT_EQ(parsed.parser.State().audioChannels, 0);
    EXPECT_EQ(parsed.parser.GetTimecodePack(), -1);
    EXPECT_EQ(parsed.parser.GetFormatCode(), -1);
}

TEST(DifParser, ANewParserKnowsNothing) {
    const CLvtDifParser parser;
    EXPECT_EQ(parser.GetFieldOrder(), 0);
    EXPECT_EQ(parser.GetPixelAspect(), std::make_pair(LONG{-1}, LONG{-1}));
    EXPECT_EQ(parser.GetTimecodePack(), -1);
    EXPECT_EQ(parser.State().format.codedWidth, 0);
    EXPECT_EQ(parser.State().format.rateCode, 15);
    EXPECT_EQ(parser.State().audio[7].samplesPerFrame, -1);
    EXPECT_EQ(parser.State().audio[7].locked, 0);
}

}  // namespace
}  // namespace nyx
