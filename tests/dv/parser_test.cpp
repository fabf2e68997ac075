#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>

#include "dv/dif_parser.h"
#include "dv/sequence_headers.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/guard.h"

namespace nyx {
namespace {

using test::AudioPackByte;
using test::Clip;
using test::DvFrame;
using test::LoadFrame;
using test::SubcodePackByte;

constexpr HRESULT kRecognised = 1;

template <class... Numbers>
std::vector<LONG> Longs(Numbers... numbers) {
    return {static_cast<LONG>(numbers)...};
}

struct Parsed {
    explicit Parsed(const DvFrame& frame) : result(parser.Parse(frame.data(), frame.size())) {}
    const FormatRecord& Format() const { return parser.State().format; }

    CLvtDifParser parser;
    HRESULT result;
};

TEST(DifParser, EveryVariantOfRealFramesTellsWhatItIs) {
    struct Variant {
        Clip clip;
        LONG formatCode, systemRate, fourCC, rateNum, rateDen, aspectX, width, height, fieldOrder;
        DWORD channels;
    };
    constexpr Variant kVariants[] = {
        {{"dv25_525_4x3", 120000}, 2, 60, kFourCCDv25, 30000, 1001, 648, 720, 480, 1, 1},
        {{"dv25_525_16x9", 120000}, 2, 60, kFourCCDv25, 30000, 1001, 864, 720, 480, 1, 1},
        {{"dv25_625_4x3", 144000}, 0, 50, kFourCCDv25, 25, 1, 768, 720, 576, 1, 1},
        {{"dv25_625_16x9", 144000}, 0, 50, kFourCCDv25, 25, 1, 1024, 720, 576, 1, 1},
        {{"dvcpro25_625", 144000}, 2, 50, kFourCCDv25, 25, 1, 768, 720, 576, 1, 1},
        {{"dvcpro50_525", 240000}, 3, 60, kFourCCDv50, 30000, 1001, 648, 720, 480, 1, 2},
        {{"dvcpro50_625", 288000}, 3, 50, kFourCCDv50, 25, 1, 1024, 720, 576, 1, 2},
        {{"dvcprohd_1080_60", 480000}, 4, 60, kFourCCDvHd, 30000, 1001, 1920, 1280, 1080, 0, 4},
        {{"dvcprohd_1080_50", 576000}, 4, 50, kFourCCDvHd, 25, 1, 1920, 1440, 1080, 0, 4},
        {{"dvcprohd_720_60", 240000}, 6, 60, kFourCCDvHd, 60000, 1001, 1280, 960, 720, 2, 2},
        {{"dvcprohd_720_50", 288000}, 6, 50, kFourCCDvHd, 50, 1, 1280, 960, 720, 2, 2},
    };
    for (const Variant& v : kVariants) {
        const DvFrame frame = LoadFrame(v.clip);
        const Parsed parsed(frame);
        const DifState& state = parsed.parser.State();
        SCOPED_TRACE(v.clip.name);
        EXPECT_EQ(parsed.result, kRecognised);
        EXPECT_EQ(parsed.parser.GetFormatCode(), v.formatCode);
        EXPECT_EQ(parsed.parser.GetSystemRate(), v.systemRate);
        EXPECT_EQ(parsed.parser.GetFieldOrder(), v.fieldOrder);
        // The pixels of a line fill the aspect's width: its second number is the coded width.
        EXPECT_EQ(parsed.parser.GetPixelAspect(), std::make_pair(v.aspectX, v.width));
        EXPECT_EQ(Longs(state.format.fourCC, state.format.frameBytes, state.format.codedWidth,
                        state.format.codedHeight, state.format.frameRateNum,
                        state.format.frameRateDen, state.format.recordedRateNum,
                        state.format.recordedRateDen, state.format.frameStructure,
                        state.format.rateCode, state.audioSamplesPerFrame, state.audioChannels),
                  Longs(v.fourCC, static_cast<LONG>(v.clip.frameBytes), v.width, v.height,
                        v.rateNum, v.rateDen, v.rateNum, v.rateDen, v.fieldOrder != 2, 15,
                        v.systemRate == 60 ? 1600 : 1920, static_cast<LONG>(2 * v.channels)));
        EXPECT_EQ(state.channelCount, v.channels);
        // Recorders write the timecode in every sequence; the second one's is read first.
        EXPECT_EQ(frame.OffsetOf(state.timecode), 12110);
    }
}

constexpr Clip kPal = {"dv25_625_4x3", 144000};
constexpr Clip kNtsc = {"dv25_525_4x3", 120000};
constexpr Clip kPal50 = {"dvcpro50_625", 288000};
constexpr Clip kNtsc50 = {"dvcpro50_525", 240000};
constexpr Clip kHd = {"dvcprohd_1080_50", 576000};
constexpr Clip kHd60 = {"dvcprohd_1080_60", 480000};
constexpr Clip k720 = {"dvcprohd_720_60", 240000};

/// Byte `index` of every pack `pack` becomes `value`. Pack 0 stands for the application ID, pack 1
/// for byte `index` of the frame.
struct Edit {
    BYTE pack;
    std::size_t index;
    BYTE value;
};

void Apply(const Edit& edit, DvFrame* frame) {
    if (edit.pack == 1) {
        (*frame)[edit.index] = edit.value;
    } else if (edit.pack == 0) {
        frame->SetApplicationId(edit.value);
    } else {
        frame->SetPackByte(edit.pack, edit.index, edit.value);
    }
}

/// Whatever stops a frame from being recognised, the rest that was found is readable.
TEST(DifParser, EditedFramesAreReadByTheirRules) {
    struct Case {
        const char* name;
        Clip clip;
        std::vector<Edit> edits;
        HRESULT result;
        LONG formatCode, fieldOrder, aspectX, audioChannels;
    };
    using Edits = std::vector<Edit>;
    const std::size_t off = 7 * 12000 + SubcodePackByte(11);  // nobody's own place
    const Edits anywhere = {{0x60, 0, 0}, {1, off, 0x60}, {1, off + 3, 0xC0}};
    const std::size_t secondHalf = 6 * 12000 + AudioPackByte(3);
    const Edits lockedLate = {{1, secondHalf + 1, 0x58}, {1, 84000 + AudioPackByte(0) + 1, 0x58}};
    Edits denial;
    for (std::size_t sequence = 0; sequence < 12; ++sequence) {
        denial.push_back({1, sequence * 12000 + 5, 0xF8});
    }
    const Case cases[] = {
        {"no video source", kNtsc, {{0x60, 0, 0}}, E_FAIL, -1, -1, -1, 2},
        {"video source anywhere", kNtsc, anywhere, 1, 2, 1, 648, 2},
        {"no source control", kPal50, {{0x61, 0, 0}}, E_FAIL, -1, -1, -1, 4},
        {"the first control counts", kNtsc, {{0x61, 2, 0xCA}, {1, 455, 0xC8}}, 1, 2, 1, 648, 2},
        {"progressive DV25", kPal, {{0x61, 3, 0xF4}}, 1, 0, 2, 768, 2},
        {"progressive DVCPRO50 is none", kPal50, {{0x61, 3, 0xF4}}, 1, 3, 1, 1024, 4},
        {"wide DVCPRO50", kNtsc50, {{0x61, 2, 0xCA}}, 1, 3, 1, 864, 4},
        {"narrow DVCPRO50", kPal50, {{0x61, 2, 0xC8}}, 1, 3, 1, 768, 4},
        {"the second type of 1080 lines", kHd, {{0x60, 3, 0xF5}}, 1, 5, 0, 1920, 8},
        {"and of 60 fields", kHd60, {{0x60, 3, 0xD5}}, 1, 5, 0, 1920, 8},
        {"narrow 720 lines", k720, {{0x61, 2, 0xC8}}, 1, 6, 2, 1280, 4},
        {"letterbox", kPal, {{0x61, 2, 0xCE}, {0x61, 3, 0xFD}}, E_FAIL, -1, -1, -1, 2},
        {"unknown signal type", kPal, {{0x60, 3, 0xE5}}, E_FAIL, -1, -1, -1, 2},
        {"narrow high definition", kHd, {{0x61, 2, 0xC8}}, E_FAIL, -1, 0, -1, 8},
        {"application 0", kNtsc, {{0, 0, 0}}, 1, 0, 1, 648, 2},
        {"application 2", kPal, {{0, 0, 2}}, 1, 0, 1, 768, 2},
        {"unknown application", kPal, {{0, 0, 7}}, E_FAIL, 0, 1, 768, 2},
        {"unknown, telling signal type", kPal50, {{0, 0, 7}}, 1, 3, 1, 1024, 4},
        {"locked 48 kHz", kPal, {{0x50, 1, 0x18}}, 1, 1, 1, 768, 2},
        {"locked 32 kHz", kPal, {{0x50, 1, 0x10}, {0x50, 4, 0x90}}, 1, 1, 1, 768, 2},
        {"locked 44.1 kHz", kPal, {{0x50, 1, 0x10}, {0x50, 4, 0x88}}, 1, 0, 1, 768, 2},
        {"locked in the second half", kPal, lockedLate, 1, 1, 1, 768, 2},
        {"audio of the other system", kPal, {{0x50, 3, 0xC0}}, 1, 0, 1, 768, 0},
        {"unsound audio", kPal, {{0x50, 4, 0x87}}, E_FAIL, 0, 1, 768, 2},
        {"four channels", kPal, {{0x50, 2, 0x20}}, 1, 0, 1, 768, 4},
        {"the second half silent", kPal, {{1, secondHalf + 2, 0x0F}}, 1, 0, 1, 768, 1},
        {"headers deny audio", kPal, denial, 1, 0, 1, 768, 1},
        {"no audio packs", {"dv25_625_silent", 144000}, {}, 1, 0, 1, 768, 0},
    };
    for (const Case& c : cases) {
        DvFrame frame = LoadFrame(c.clip);
        std::for_each(c.edits.begin(), c.edits.end(), [&](const Edit& e) { Apply(e, &frame); });
        const Parsed parsed(frame);
        EXPECT_EQ(Longs(parsed.result, parsed.parser.GetFormatCode(), parsed.parser.GetFieldOrder(),
                        parsed.parser.GetPixelAspect().first, parsed.parser.State().audioChannels,
                        parsed.parser.State().audioChannelsEven),
                  Longs(c.result, c.formatCode, c.fieldOrder, c.aspectX, c.audioChannels,
                        (c.audioChannels + 1) / 2 * 2))
            << c.name;
        EXPECT_NE(parsed.parser.GetTimecodePack(), -1);
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
    parsed = Parsed(frame);
    EXPECT_EQ(parsed.parser.GetBinaryGroupPack(), 0x78563412);
    EXPECT_EQ(parsed.parser.State().binaryGroupPayload.state, 0);
    EXPECT_EQ(parsed.parser.State().timecodePayload.value, -1);
    // Nothing of a frame is left when the next one is read.
    const DvFrame blank = DvFrame::Blank(144000);
    EXPECT_EQ(parsed.parser.Parse(blank.data(), blank.size()), E_FAIL);
    EXPECT_EQ(parsed.parser.GetTimecodePack(), -1);
    EXPECT_EQ(parsed.parser.GetBinaryGroupPack(), -1);
    EXPECT_EQ(parsed.parser.State().audioSource[0], nullptr);
    EXPECT_EQ(parsed.parser.State().audioChannels, 0);
    EXPECT_EQ(CLvtDifParser().GetFieldOrder(), 0);
    EXPECT_EQ(CLvtDifParser().State().audio[7].samplesPerFrame, -1);
}

TEST(DifParser, AspectFollowsDisplayAndBroadcastSystem) {
    // Rows BCSYS 0 to 3, columns DISP 0 to 7: n narrow, w wide, - refused.
    constexpr const char* kDv25[] = {"nnw----n", "nnnnnn-w", "nwwwwwww", "nwwwwwww"};
    for (unsigned at = 0; at < 32; ++at) {
        const BYTE source[] = {0x60, 0xFF, 0xFF, 0xE0};
        const BYTE control[] = {0x61, 0xFF, static_cast<BYTE>(0xC8 | at % 8),
                                static_cast<BYTE>(0xFC | at / 8)};
        FormatRecord f;
        const char expected = kDv25[at / 8][at % 8];
        EXPECT_EQ(LookUpFormat(source, control, &f), expected != '-') << at;
        EXPECT_EQ(f.pixelAspectX, expected == 'n' ? 768 : expected == 'w' ? 1024 : -1) << at;
    }
    const BYTE source[] = {0x60, 0xFF, 0xFF, 0xF4};
    const BYTE control[] = {0x61, 0xFF, 0xCF, 0xFC};
    FormatRecord f;
    EXPECT_TRUE(LookUpFormat(source, control, &f)) << "DISP 7 of high definition";
    EXPECT_FALSE(LookUpFormat(nullptr, control, &f));
    EXPECT_EQ(f.rateCode, -1);
    EXPECT_FALSE(LookUpFormat(source, nullptr, &f));
}

TEST(DifParser, TheFrameRatePackTellsWhatTheCameraRecorded) {
    struct Case {
        BYTE signalType;
        BYTE pc1, pc2, pc3, wrong;  // wrong: an error in the check byte
        LONG num, den, fieldOrder, structure, rateCode;
    };
    constexpr Case kCases[] = {
        // PC1: 0x80 whole frames, 0x40 second pattern, 0x20 an integral rate; PC2: rate in BCD.
        {0xD8, 0x80, 0x60, 0xA7, 0, 60000, 1001, 2, 0, 7},
        {0xD8, 0x80, 0x30, 0, 0, 30000, 1001, 2, 6, 0},
        {0xD8, 0x80, 0x24, 0, 0, 24000, 1001, 2, 2, 0},
        {0xD8, 0xC0, 0x24, 0, 0, 24000, 1001, 2, 3, 0},
        {0xF8, 0xA0, 0x50, 0, 0, 50, 1, 2, 0, 0},
        {0xD4, 0x80, 0x30, 4, 0, 30000, 1001, 2, 0, 4},
        {0xD4, 0x80, 0x24, 0, 0, 24000, 1001, 0, 2, 0},
        {0xD4, 0x00, 0x60, 0, 0, 30000, 1001, 0, 1, 0},
        {0xF4, 0x20, 0x25, 0, 0, 12, 1, 0, 1, 0},
        {0xF4, 0xA0, 0xFF, 0, 0, 165, 1, 0, 2, 0},
        {0xD4, 0x80, 0x24, 9, 1, 30000, 1001, 0, 1, 15},
    };
    for (const Case& c : kCases) {
        const BYTE source[] = {0x60, 0xFF, 0xFF, c.signalType};
        const BYTE control[] = {0x61, 0xFF, 0xCA, 0xFC};
        const BYTE pack[] = {0x64, c.pc1, c.pc2, c.pc3,
                             static_cast<BYTE>(((c.pc1 + c.pc2 + c.pc3) ^ 0x55) + c.wrong)};
        FormatRecord f;
        ASSERT_TRUE(LookUpFormat(source, control, &f));
        ApplyFrameRatePack(pack, &f);
        EXPECT_EQ(
            Longs(f.recordedRateNum, f.recordedRateDen, f.fieldOrder, f.frameStructure, f.rateCode),
            Longs(c.num, c.den, c.fieldOrder, c.structure, c.rateCode))
            << &c - kCases;
    }
    DvFrame frame = LoadFrame("dvcprohd_720_60", 240000);
    frame.Put(468, {0x64, 0x80, 0x24, 0x03, (0x80 + 0x24 + 0x03) ^ 0x55});
    EXPECT_EQ(Parsed(frame).Format().recordedRateNum, 24000);
}

/// The places of one pack in the order in which they are tried, in bytes.
struct Places {
    PackId id;
    int secondHalfSyncBlock;             // in the first sequence of the second half, -1 none
    std::vector<std::size_t> once;       // from the start of the frame
    int even, odd;                       // of each such sequence, -1 none
    const char *firstHalf, *secondHalf;  // sync blocks, hexadecimal
};
const Places kPlaces[] = {
    {kTimecodePack, -1, {12110}, -1, -1, "3459AB012678", "3906"},
    {kBinaryGroupPack, -1, {118, 12273}, -1, -1, "4A17", ""},
    {kAudioControlPack, -1, {}, 5603, 1763, "", ""},
    {kAudioRecDatePack, -1, {}, 6883, 3043, "", "4A17"},
    {kAudioRecTimePack, -1, {}, 8163, 4323, "B", "5B28"},
    {kVideoSourcePack, -1, {}, 448, 243, "", ""},
    {kVideoControlPack, -1, {}, 453, 248, "", ""},
    {kVideoRecDatePack, 4, {458}, 458, 253, "", "4A17"},
    {kVideoRecTimePack, 5, {463}, 463, 258, "B", "5B28"},
    {kFrameRatePack, -1, {}, 468, 263, "", ""},
};

/// All places of a frame, best first; one that is named twice counts where it is named first.
std::vector<std::size_t> InOrder(const Places& places, std::size_t sequences, std::size_t half) {
    std::vector<std::size_t> all;
    const auto add = [&all](std::size_t place) {
        if (std::find(all.begin(), all.end(), place) == all.end()) {
            all.push_back(place);
        }
    };
    if (places.secondHalfSyncBlock >= 0) {
        add(half * 12000 + SubcodePackByte(static_cast<std::size_t>(places.secondHalfSyncBlock)));
    }
    std::for_each(places.once.begin(), places.once.end(), add);
    for (std::size_t sequence = 0; sequence < sequences; ++sequence) {
        const int fixed = sequence % 2 == 0 ? places.even : places.odd;
        if (fixed >= 0) {
            add(sequence * 12000 + static_cast<std::size_t>(fixed));
        }
        const std::string blocks = sequence / half % 2 == 0 ? places.firstHalf : places.secondHalf;
        for (const char block : blocks) {
            add(sequence * 12000 + SubcodePackByte(std::stoul(std::string(1, block), nullptr, 16)));
        }
    }
    return all;
}

/// Puts the pack at every place, the worst first: each time the new place has to be found.
template <class Find>
void ExpectOrder(std::size_t bytes, BYTE id, std::vector<std::size_t> order, Find find) {
    DvFrame frame = DvFrame::Blank(bytes);
    EXPECT_EQ(find(frame), nullptr);
    std::reverse(order.begin(), order.end());
    for (const std::size_t place : order) {
        frame[place] = id;
        ASSERT_EQ(frame.OffsetOf(find(frame)), static_cast<std::ptrdiff_t>(place))
            << "pack " << std::hex << +id << std::dec << ", frame of " << bytes;
    }
}

struct FrameShape {
    std::size_t bytes, half;  // half: sequences of half a channel
};
constexpr FrameShape kShapes[] = {{120000, 5}, {144000, 6}, {240000, 5}, {288000, 6},
                                  {480000, 5}, {576000, 6}, {84000, 6}};

TEST(PackSearch, TheBestOfSeveralPlacesWins) {
    for (const FrameShape& shape : kShapes) {
        for (const Places& places : kPlaces) {
            std::vector<std::size_t> order = InOrder(places, shape.bytes / 12000, shape.half);
            order.push_back(6 * 12000 + AudioPackByte(8));  // no pack's own place
            ExpectOrder(shape.bytes, places.id, order, [&](const DvFrame& frame) {
                return LocatePack(frame.data(), frame.size(), places.id);
            });
        }
    }
    ExpectOrder(120000, 0x13, {12110, 110},
                [](const DvFrame& frame) { return FindTimecodePack(frame.data(), frame.size()); });
}

TEST(PackSearch, TheWholeFrameIsSearchedAudioThenVauxThenSubcode) {
    std::vector<std::size_t> order;
    for (std::size_t sequence = 0; sequence < 144000; sequence += 12000) {
        for (const std::size_t place : test::PackBytes()) {
            order.push_back(sequence + place);
        }
    }
    ExpectOrder(144000, 0x42, order,
                [](const DvFrame& frame) { return FindPack(frame.data(), frame.size(), 0x42); });
    const DvFrame frame = DvFrame::Blank(120000);
    EXPECT_EQ(SubcodePackAt(frame.data(), 2, 7), frame.data() + 24000 + SubcodePackByte(7));
}

TEST(PackSearch, EachHalfOfAChannelHasItsAudioSource) {
    for (const FrameShape& shape : kShapes) {
        for (std::size_t slot = 0; slot < shape.bytes / 12000 / shape.half; ++slot) {
            const std::size_t first = slot * shape.half;
            const auto placeIn = [](std::size_t sequence) {
                return sequence * 12000 + AudioPackByte(sequence % 2 == 0 ? 3 : 0);
            };
            std::vector<std::size_t> order = {placeIn(first), placeIn(first + 2)};
            for (const std::size_t next : {1u, 3u, 4u, 5u}) {
                if (next < shape.half) {
                    order.push_back(placeIn(first + next));
                }
            }
            // Last the opening half channel stands in, of which audio block 7 is nobody's place.
            order.push_back((shape.half - 1) * 12000 + AudioPackByte(7));
            ExpectOrder(shape.bytes, 0x50, order, [&](const DvFrame& frame) {
                return FindAudioSourcePack(frame.data(), frame.size(), static_cast<DWORD>(slot / 2),
                                           static_cast<DWORD>(slot % 2));
            });
        }
    }
    DvFrame frame = DvFrame::Blank(240000);
    frame[5 * 12000 + AudioPackByte(7)] = 0x50;
    for (const DWORD channel : {1u, 4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(FindAudioSourcePack(frame.data(), frame.size(), channel, 0), nullptr);
    }
}

/// Makes the seven votes of one sequence: header bytes, then the subcode repetitions.
void Vote(DvFrame* frame, std::size_t sequence, const char* votes) {
    for (const std::size_t at : {4u, 5u, 6u, 7u}) {
        (*frame)[sequence * 12000 + at] = static_cast<BYTE>(0xF8 | (*votes++ - '0'));
    }
    for (const std::size_t at : {83u, 163u, 203u}) {
        (*frame)[sequence * 12000 + at] = static_cast<BYTE>(0x8F | (*votes++ - '0') << 4);
    }
}

TEST(SequenceHeaders, TheApplicationIdIsVoted) {
    struct Case {
        const char *name, *first, *second, *others;
        BYTE winner, winnerOfDvcPro50;
    };
    const Case cases[] = {
        {"four of seven decide the first sequence", "1177711", "7777777", "7777777", 1, 1},
        {"whatever follows", "0007770", "1111111", "7777777", 0, 0},
        {"an unusual one too", "5555555", "7777777", "7777777", 5, 5},
        {"7 of 14, not 6", "0001117", "1111000", "7777777", 1, 1},
        {"the lower of two", "0011237", "0011237", "0011237", 0, 0},
        {"the most frequent", "0011237", "0111237", "0011237", 1, 1},
        {"an unclear vote", "2220137", "2220137", "2220137", 7, 1},
        {"none", "7777777", "7777777", "7777777", 7, 1},
    };
    for (const Case& c : cases) {
        DvFrame frame = DvFrame::Blank(120000);
        for (std::size_t sequence = 0; sequence < 10; ++sequence) {
            Vote(&frame, sequence, sequence == 0 ? c.first : sequence == 1 ? c.second : c.others);
        }
        const BYTE dv25[] = {0x60, 0xFF, 0xFF, 0xE3, 0xFF};
        const BYTE dvcPro50[] = {0x60, 0xFF, 0xFF, 0xE4, 0xFF};
        const ByteSpan bytes(frame.data(), frame.size());
        EXPECT_EQ(VoteApplicationId(bytes, dv25), c.winner) << c.name;
        EXPECT_EQ(VoteApplicationId(bytes, dvcPro50), c.winnerOfDvcPro50) << c.name;
    }
    DvFrame frame = DvFrame::Blank(120000);
    const auto present = [&frame] { return VoteAudioPresent({frame.data(), frame.size()}); };
    for (std::size_t sequence = 0; sequence < 5; ++sequence) {
        EXPECT_FALSE(present()) << sequence;
        frame[sequence * 12000 + 5] = 0x79;
    }
    EXPECT_TRUE(present()) << "a tie";
}

TEST(AudioSource, EachFieldAnswersForItself) {
    struct Case {
        DWORD payload;  // PC1 first
        LONG channels, bits, rate, samples, locked;
        HRESULT result;
    };
    std::vector<Case> cases = {
        {0xD400C080, 1, 16, 48000, 1600, 0, S_OK},
        {0xD400E080, 1, 16, 48000, 1916, 0, S_OK},
        {0xD400C088, 1, 16, 44100, 1472, 0, S_OK},
        {0xD400E088, 1, 16, 44100, 1762, 0, S_OK},
        {0xD400C090, 1, 16, 32000, 1073, 0, S_OK},
        {0xD400E090, 1, 16, 32000, 1284, 0, S_OK},
        {0xFE00C080, 1, 16, 48000, 1580 + 62, 0, S_OK},
        {0xFF00C080, 1, 16, 48000, 0, 0, S_OK},     // the largest size means unknown
        {0x5400C080, 1, 16, 48000, 1600, 1, S_OK},  // top bit clear: locked
        {0xD400C081, 1, 12, 32000, 1073, 0, S_OK},  // 12 bits are always 32 kHz
        {0xD400C0B9, 1, 12, 32000, 1073, 0, S_OK},
        {0xD400C082, 1, 20, 48000, 1600, 0, S_OK},
        {0xD400C003, 1, 0, 48000, 1600, 0, E_FAIL},
        {0xD400C018, 1, 16, 0, 0, 0, E_FAIL},
        {0xFFFFFFFF, 0, 0, 0, 0, 0, S_OK},
    };
    // Channels by CHN and AUDIO_MODE; - is unsound.
    const std::string channels = "111------------0212221---------0--------------------------------";
    for (unsigned at = 0; at < 64; ++at) {
        const bool sound = channels[at] != '-';
        cases.push_back({0xD400C080 | (at / 16 << 5 | at % 16) << 16,
                         sound ? channels[at] - '0' : 0, 16, 48000, 1600, 0,
                         sound ? S_OK : E_FAIL});
    }
    AudioRecord r;
    for (const Case& c : cases) {
        const BYTE pack[] = {0x50, static_cast<BYTE>(c.payload >> 24),
                             static_cast<BYTE>(c.payload >> 16), static_cast<BYTE>(c.payload >> 8),
                             static_cast<BYTE>(c.payload)};
        r = {7, 7, 7, 7, 7};
        EXPECT_EQ(DecodeAudioSourcePack(pack, nullptr, &r), c.result) << std::hex << c.payload;
        EXPECT_EQ(Longs(r.channels, r.bitsPerSample, r.sampleRate, r.samplesPerFrame, r.locked),
                  Longs(c.channels, c.bits, c.rate, c.samples, c.locked))
            << std::hex << c.payload;
    }
    EXPECT_EQ(DecodeAudioSourcePack(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(DecodeAudioSourcePack(nullptr, nullptr, &r), S_OK);
    EXPECT_EQ(r.channels, 0);
}

/// Parses bytes that end at inaccessible memory; every pack found lies inside with all its bytes.
void ParseGuarded(const BYTE* bytes, std::size_t size) {
    const test::GuardedMemory copy(std::vector<BYTE>(bytes, bytes + size));
    CLvtDifParser parser;
    parser.Parse(copy.data(), size);
    const DifState& s = parser.State();
    std::set<const BYTE*> packs = {s.videoSource, s.videoControl, s.videoRecDate, s.videoRecTime,
                                   s.frameRate,   s.audioControl, s.audioRecDate, s.audioRecTime,
                                   s.timecode,    s.binaryGroup};
    packs.insert(s.audioSource.begin(), s.audioSource.end());
    packs.erase(nullptr);
    for (const BYTE* pack : packs) {
        ASSERT_TRUE(pack >= copy.data() && pack + kPackBytes <= copy.data() + size);
    }
}

TEST(DifBounds, CutAndDamagedFramesParse) {
    EXPECT_EQ(CLvtDifParser().Parse(nullptr, 144000), E_FAIL);
    const DvFrame ntsc = LoadFrame("dv25_525_4x3", 120000);
    for (std::size_t size = 0; size < 25000; size += size < 800 ? 1 : 11) {
        ParseGuarded(ntsc.data(), size);
    }
    std::mt19937 random(1);
    for (const Clip& clip : test::kClips) {
        DvFrame frame = LoadFrame(clip);
        for (std::size_t size = 0; size <= frame.size(); size += 11999) {
            ParseGuarded(frame.data(), size);
        }
        for (int round = 0; round < 5; ++round) {
            for (int edit = 0; edit < 2000; ++edit) {
                frame[random() % frame.size()] = static_cast<BYTE>(random());
            }
            ParseGuarded(frame.data(), frame.size());
        }
    }
    // A frame of no known size tells its picture; one of more channels than any recorder writes
    // does no harm.
    CLvtDifParser parser;
    EXPECT_EQ(parser.Parse(ntsc.data(), 119999), kRecognised);
    EXPECT_EQ(parser.State().channelCount, 0u);
    EXPECT_EQ(parser.State().audioChannels, 0);
    std::vector<BYTE> huge;
    for (int copies = 0; copies < 12; ++copies) {
        huge.insert(huge.end(), ntsc.data(), ntsc.data() + ntsc.size());
    }
    EXPECT_EQ(parser.Parse(huge.data(), huge.size()), kRecognised);
    EXPECT_EQ(parser.State().audioChannels, 8);
}

}  // namespace
}  // namespace nyx
