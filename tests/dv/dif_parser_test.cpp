#include "dv/dif_parser.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/dv/dv_frames.h"

namespace nyx {
namespace {

using test::Clip;
using test::DvFrame;
using test::LoadFrame;

constexpr HRESULT kRecognised = 1;

struct Parsed {
    explicit Parsed(const DvFrame& frame) { result = parser.Parse(frame.data(), frame.size()); }
    const FormatRecord& Format() const { return parser.State().format; }

    CLvtDifParser parser;
    HRESULT result = S_OK;
};

TEST(DifParser, EveryVariantOfRealFramesIsRecognised) {
    struct Variant {
        Clip clip;
        LONG formatCode, systemRate, aspectX, aspectY, height, fieldOrder;
        DWORD channels;
    };
    constexpr Variant kVariants[] = {
        {{"dv25_525_4x3", 120000}, kFormatDvcPro25, 60, 648, 720, 480, 1, 1},
        {{"dv25_525_16x9", 120000}, kFormatDvcPro25, 60, 864, 720, 480, 1, 1},
        {{"dv25_625_4x3", 144000}, kFormatDv25, 50, 768, 720, 576, 1, 1},
        {{"dv25_625_16x9", 144000}, kFormatDv25, 50, 1024, 720, 576, 1, 1},
        {{"dvcpro25_625", 144000}, kFormatDvcPro25, 50, 768, 720, 576, 1, 1},
        {{"dvcpro50_525", 240000}, kFormatDvcPro50, 60, 648, 720, 480, 1, 2},
        {{"dvcpro50_625", 288000}, kFormatDvcPro50, 50, 1024, 720, 576, 1, 2},
        {{"dvcprohd_1080_60", 480000}, kFormatDvcProHd1080, 60, 1920, 1280, 1080, 0, 4},
        {{"dvcprohd_1080_50", 576000}, kFormatDvcProHd1080, 50, 1920, 1440, 1080, 0, 4},
        {{"dvcprohd_720_60", 240000}, kFormatDvcProHd720, 60, 1280, 960, 720, 2, 2},
        {{"dvcprohd_720_50", 288000}, kFormatDvcProHd720, 50, 1280, 960, 720, 2, 2},
    };
    for (const Variant& variant : kVariants) {
        const DvFrame frame = LoadFrame(variant.clip.name, variant.clip.frameBytes);
        const Parsed parsed(frame);
        const DifState& state = parsed.parser.State();
        SCOPED_TRACE(variant.clip.name);
        EXPECT_EQ(parsed.result, kRecognised);
        EXPECT_EQ(parsed.parser.GetFormatCode(), variant.formatCode);
        EXPECT_EQ(parsed.parser.GetSystemRate(), variant.systemRate);
        EXPECT_EQ(parsed.parser.GetFieldOrder(), variant.fieldOrder);
        EXPECT_EQ(parsed.parser.GetPixelAspect(), std::make_pair(variant.aspectX, variant.aspectY));
        EXPECT_EQ(state.format.frameBytes, static_cast<LONG>(variant.clip.frameBytes));
        EXPECT_EQ(state.format.codedHeight, variant.height);
        EXPECT_EQ(state.channelCount, variant.channels);
        EXPECT_EQ(state.audioSamplesPerFrame, variant.systemRate == 60 ? 1600 : 1920);
        for (std::size_t slot = 0; slot < 2 * variant.channels; ++slot) {
            EXPECT_EQ(state.audio[slot].channels, 1) << slot;
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

constexpr Clip kPal = {"dv25_625_4x3", 144000};
constexpr Clip kNtsc = {"dv25_525_4x3", 120000};
constexpr Clip kPal50 = {"dvcpro50_625", 288000};
constexpr Clip kHd1080 = {"dvcprohd_1080_50", 576000};

/// Whatever stops a frame from being recognised, the rest that was found is readable.
TEST(DifParser, EditedFramesAreReadByTheirRules) {
    struct Case {
        const char* name;
        Clip clip;
        void (*edit)(DvFrame&);
        HRESULT result;
        LONG formatCode, fieldOrder, aspectX, audioChannels;
    };
    const Case cases[] = {
        {"no video source", kNtsc, [](DvFrame& f) { f.RemovePacks(0x60); }, E_FAIL, -1, -1, -1, 2},
        {"video source anywhere", kNtsc,
         [](DvFrame& f) {
             f.RemovePacks(0x60);
             f.Put(7 * 12000 + test::SubcodePackByte(11), {0x60, 0xFF, 0xFF, 0xC0, 0xFF});
         },
         kRecognised, kFormatDvcPro25, 1, 648, 2},
        {"no source control", kPal50, [](DvFrame& f) { f.RemovePacks(0x61); }, E_FAIL, -1, -1, -1,
         4},
        {"contradicting source controls, the first counts", kNtsc,
         [](DvFrame& f) {
             f.SetPackByte(0x61, 2, 0xCA);
             f.Put(453, {0x61, 0x3F, 0xC8, 0xFC, 0xFF});
         },
         kRecognised, kFormatDvcPro25, 1, 648, 2},
        {"the first source control missing", kNtsc,
         [](DvFrame& f) {
             f.SetPackByte(0x61, 2, 0xCA);
             f.Put(453, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
         },
         kRecognised, kFormatDvcPro25, 1, 864, 2},
        {"narrow high definition", kHd1080, [](DvFrame& f) { f.SetPackByte(0x61, 2, 0xC8); },
         E_FAIL, -1, 0, -1, 8},
        {"application 0", kNtsc, [](DvFrame& f) { f.SetApplicationId(0); }, kRecognised,
         kFormatDv25, 1, 648, 2},
        {"unknown application", kPal, [](DvFrame& f) { f.SetApplicationId(7); }, E_FAIL,
         kFormatDv25, 1, 768, 2},
        {"unknown application, telling signal type", kPal50,
         [](DvFrame& f) { f.SetApplicationId(7); }, kRecognised, kFormatDvcPro50, 1, 1024, 4},
        {"audio of the other system", kPal, [](DvFrame& f) { f.SetPackByte(0x50, 3, 0xC0); },
         kRecognised, kFormatDv25, 1, 768, 0},
        {"unsound audio", kPal, [](DvFrame& f) { f.SetPackByte(0x50, 4, 0x87); }, E_FAIL,
         kFormatDv25, 1, 768, 2},
        {"headers deny audio", kPal,
         [](DvFrame& f) {
             for (std::size_t sequence = 0; sequence < f.Sequences(); ++sequence) {
                 f[sequence * 12000 + 5] |= 0x80;
             }
         },
         kRecognised, kFormatDv25, 1, 768, 1},
        {"no audio packs",
         {"dv25_625_silent", 144000},
         [](DvFrame&) {},
         kRecognised,
         kFormatDv25,
         1,
         768,
         0},
    };
    for (const Case& c : cases) {
        DvFrame frame = LoadFrame(c.clip.name, c.clip.frameBytes);
        c.edit(frame);
        const Parsed parsed(frame);
        SCOPED_TRACE(c.name);
        EXPECT_EQ(parsed.result, c.result);
        EXPECT_EQ(parsed.parser.GetFormatCode(), c.formatCode);
        EXPECT_EQ(parsed.parser.GetFieldOrder(), c.fieldOrder);
        EXPECT_EQ(parsed.parser.GetPixelAspect().first, c.aspectX);
        EXPECT_EQ(parsed.parser.State().audioChannels, c.audioChannels);
        EXPECT_NE(parsed.parser.GetTimecodePack(), -1);
    }
}

TEST(DifParser, AudioIsLockedWhenAnyHalfSaysSo) {
    // The halves' packs: audio block 3 of even sequences, block 0 of odd ones.
    for (const bool second : {false, true}) {
        DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
        for (const std::size_t sequence : {0u, 1u}) {
            frame[(sequence + (second ? 6 : 0)) * 12000 +
                  test::AudioPackByte(sequence == 0 ? 3 : 0) + 1] &= 0x7F;
        }
        const Parsed parsed(frame);
        EXPECT_EQ(parsed.parser.GetFormatCode(), kFormatDv25Locked);
        EXPECT_EQ(parsed.parser.State().audio[0].locked, second ? 0 : 1);
        EXPECT_EQ(parsed.parser.State().audio[1].locked, second ? 1 : 0);
    }
}

TEST(DifParser, AudioOfEveryHalfCounts) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    frame.EditPacks(0x50, [](BYTE* pack) {
        pack[1] = 0xC0 | 16;
        pack[2] = 0x20;
        pack[4] = 0x91;
    });
    const Parsed four(frame);
    EXPECT_EQ(four.parser.State().audioChannels, 4);
    EXPECT_EQ(four.parser.State().audio[1].bitsPerSample, 12);
    EXPECT_EQ(four.parser.State().audio[1].sampleRate, 32000);
    EXPECT_EQ(four.parser.State().audioSamplesPerFrame, 1280);

    frame = LoadFrame("dv25_625_4x3", 144000);
    frame[12 * 6000 + test::AudioPackByte(3) + 2] = 0x0F;
    const Parsed one(frame);
    EXPECT_EQ(one.parser.State().audioChannels, 1);
    EXPECT_EQ(one.parser.State().audioChannelsEven, 2);
}

TEST(DifParser, TheFrameRatePackCounts) {
    DvFrame frame = LoadFrame("dvcprohd_720_60", 240000);
    frame.Put(468, {0x64, 0x80, 0x24, 0x03, (0x80 + 0x24 + 0x03) ^ 0x55});
    EXPECT_EQ(Parsed(frame).Format().recordedRateNum, 24000);
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
