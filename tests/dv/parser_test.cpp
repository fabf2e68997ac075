#include <gtest/gtest.h>
#include <tuple>

#include "dv/dif_parser.h"
#include "dv/sequence_headers.h"
#include "media/dv_signals.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

template <class... Numbers>
std::vector<LONG> Longs(Numbers... numbers) {
    return {static_cast<LONG>(numbers)...};
}

struct Parsed {
    explicit Parsed(const DvFrame& frame) : result(parser.Parse(frame.data(), frame.size())) {}

    CLvtDifParser parser;
    HRESULT result;
    const DifState& state = parser.State();
};

TEST(DifParser, EveryVariantOfRealFramesIsRecognised) {
    constexpr std::tuple<const char*, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG>
        kVariants[] = {
            {"dv25_525_4x3", 2, 60, kQdvc, 30000, 1001, 648, 720, 480, 1},
            {"dv25_525_16x9", 2, 60, kQdvc, 30000, 1001, 864, 720, 480, 1},
            {"dv25_625_4x3", 0, 50, kQdvc, 25, 1, 768, 720, 576, 1},
            {"dv25_625_16x9", 0, 50, kQdvc, 25, 1, 1024, 720, 576, 1},
            {"dvcpro25_625", 2, 50, kQdvc, 25, 1, 768, 720, 576, 1},
            {"dvcpro50_525", 3, 60, kQdv5, 30000, 1001, 648, 720, 480, 1},
            {"dvcpro50_625", 3, 50, kQdv5, 25, 1, 1024, 720, 576, 1},
            {"dvcprohd_1080_60", 4, 60, kQdvh, 30000, 1001, 1920, 1280, 1080, 0},
            {"dvcprohd_1080_50", 4, 50, kQdvh, 25, 1, 1920, 1440, 1080, 0},
            {"dvcprohd_720_60", 6, 60, kQdvh, 60000, 1001, 1280, 960, 720, 2},
            {"dvcprohd_720_50", 6, 50, kQdvh, 50, 1, 1280, 960, 720, 2},
        };
    for (const auto& [clip, code, systemRate, fourCC, rateNum, rateDen, aspectX, width, height,
                      fieldOrder] : kVariants) {
        SCOPED_TRACE(clip);
        const DvFrame frame = LoadFrame(clip);
        const Parsed parsed(frame);
        // The pixels of a line fill the aspect's width: its second number is the coded width.
        const LONG* record = &parsed.state.format.formatCode;
        EXPECT_EQ(std::vector<LONG>(record, record + 15),
                  Longs(code, systemRate, frame.size(), fourCC, rateNum, rateDen, aspectX, width,
                        width, height, fieldOrder, fieldOrder != 2, rateNum, rateDen, 15));
        const CLvtDifParser& parser = parsed.parser;
        const std::size_t channels = frame.size() / (systemRate == 60 ? 120000 : 144000);
        // Recorders write the timecode in every sequence; the second one's is read first.
        EXPECT_EQ(Longs(parsed.result, parser.GetSystemRate(), parser.GetPixelAspect().second,
                        parsed.state.audioSamplesPerFrame, parsed.state.audioChannels,
                        parsed.state.channelCount, parsed.state.timecode - frame.data()),
                  Longs(1, systemRate, width, systemRate == 60 ? 1600 : 1920, 2 * channels,
                        channels, 12110));
    }
}

/// Byte `index` of every pack `pack` becomes `value`. Pack 0 is the application ID, pack 1 is
/// byte `index` of the frame.
struct Edit {
    BYTE pack;
    std::size_t index;
    BYTE value;
};

/// The parser keeps what it finds in a frame that it does not recognise.
TEST(DifParser, EditedFramesAreReadByTheirRules) {
    using Edits = std::vector<Edit>;
    constexpr auto kPal = "dv25_625_4x3", kNtsc = "dv25_525_4x3", kPal50 = "dvcpro50_625",
                   kNtsc50 = "dvcpro50_525", kHd = "dvcprohd_1080_50", kHd60 = "dvcprohd_1080_60";
    const std::size_t off = 7 * 12000 + SubcodePackByte(11);  // no pack's own place
    const Edits anywhere = {{0x60, 0, 0}, {1, off, 0x60}, {1, off + 3, 0xC0}};
    const std::size_t secondHalf = 6 * 12000 + AudioPackByte(3);
    const Edits lockedLate = {{1, secondHalf + 1, 0x58}, {1, 84000 + AudioPackByte(0) + 1, 0x58}};
    Edits denied;
    for (std::size_t sequence = 0; sequence < 12; ++sequence) {
        denied.push_back({1, sequence * 12000 + 5, 0xF8});
    }
    const std::tuple<const char*, const char*, Edits, HRESULT, LONG, LONG, LONG, LONG> cases[] = {
        {"no video source", kNtsc, {{0x60, 0, 0}}, E_FAIL, -1, -1, -1, 2},
        {"video source anywhere", kNtsc, anywhere, 1, 2, 1, 648, 2},
        {"no source control", kPal50, {{0x61, 0, 0}}, E_FAIL, -1, -1, -1, 4},
        {"the first control counts", kNtsc, {{0x61, 2, 0xCA}, {1, 455, 0xC8}}, 1, 2, 1, 648, 2},
        {"progressive DV25", kPal, {{0x61, 3, 0xF4}}, 1, 0, 2, 768, 2},
        {"narrow DVCPRO50", kPal50, {{0x61, 2, 0xC8}}, 1, 3, 1, 768, 4},
        {"wide DVCPRO50", kNtsc50, {{0x61, 2, 0xCA}}, 1, 3, 1, 864, 4},
        {"the second type of 1080 lines", kHd, {{0x60, 3, 0xF5}}, 1, 5, 0, 1920, 8},
        {"and of 60 fields", kHd60, {{0x60, 3, 0xD5}}, 1, 5, 0, 1920, 8},
        {"narrow 720 lines", "dvcprohd_720_60", {{0x61, 2, 0xC8}}, 1, 6, 2, 1280, 4},
        {"and of 50 frames", "dvcprohd_720_50", {{0x61, 2, 0xC8}}, 1, 6, 2, 1280, 4},
        {"unknown signal type", kPal, {{0x60, 3, 0xE5}}, E_FAIL, -1, -1, -1, 2},
        {"narrow high definition", kHd, {{0x61, 2, 0xC8}}, E_FAIL, -1, 0, -1, 8},
        {"DISP 7 of high definition", kHd, {{0x61, 2, 0xCF}, {0x61, 3, 0xFC}}, 1, 4, 0, 1920, 8},
        {"unknown application", kPal, {{0, 0, 7}}, E_FAIL, 0, 1, 768, 2},
        {"locked 48 kHz", kPal, {{0x50, 1, 0x18}}, 1, 1, 1, 768, 2},
        {"locked 32 kHz", kPal, {{0x50, 1, 0x10}, {0x50, 4, 0x90}}, 1, 1, 1, 768, 2},
        {"locked 44.1 kHz", kPal, {{0x50, 1, 0x10}, {0x50, 4, 0x88}}, 1, 0, 1, 768, 2},
        {"locked in the second half", kPal, lockedLate, 1, 1, 1, 768, 2},
        {"audio of the other system", kPal, {{0x50, 3, 0xC0}}, 1, 0, 1, 768, 0},
        {"invalid audio", kPal, {{0x50, 4, 0x87}}, E_FAIL, 0, 1, 768, 2},
        {"the second half silent", kPal, {{1, secondHalf + 2, 0x0F}}, 1, 0, 1, 768, 1},
        {"headers deny audio", kPal, denied, 1, 0, 1, 768, 1},
        {"no audio packs", "dv25_625_silent", {}, 1, 0, 1, 768, 0},
    };
    for (const auto& [name, clip, edits, result, format, fieldOrder, aspectX, channels] : cases) {
        DvFrame frame = LoadFrame(clip);
        for (const auto& [pack, index, value] : edits) {
            if (pack == 0) {
                frame.SetApplicationId(std::string(7, static_cast<char>('0' + value)));
            } else if (pack == 1) {
                frame[index] = value;
            } else {
                frame.SetPackByte(pack, index, value);
            }
        }
        const Parsed parsed(frame);
        EXPECT_EQ(Longs(parsed.result, parsed.parser.GetFormatCode(), parsed.parser.GetFieldOrder(),
                        parsed.parser.GetPixelAspect().first, parsed.state.audioChannels,
                        parsed.state.audioChannelsEven),
                  Longs(result, format, fieldOrder, aspectX, channels, (channels + 1) / 2 * 2))
            << name;
        EXPECT_NE(parsed.parser.GetTimecodePack(), -1);
        // Frames of one signal have all else in common.
        const auto rest = [](FormatRecord record) {
            return Longs(record.systemRate, record.frameBytes, record.fourCC, record.frameRateNum,
                         record.frameRateDen, record.pixelAspectY, record.codedWidth,
                         record.codedHeight, record.recordedRateNum, record.recordedRateDen);
        };
        EXPECT_TRUE(result != 1 ||
                    rest(parsed.state.format) == rest(Parsed(LoadFrame(clip)).state.format))
            << name;
    }
}

TEST(DifParser, PayloadsAreTheFourBytesOfTheirPacksAndEndWithTheirFrame) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 1);
    frame.Put(12273, {0x14, 0x12, 0x34, 0x56, 0x78});
    CLvtDifParser parser;
    const auto payloadsOf = [&](const DvFrame& next) {
        std::ignore = parser.Parse(next.data(), next.size());
        return Longs(parser.GetTimecodePack(), parser.GetBinaryGroupPack(), parser.GetRecDatePack(),
                     parser.GetRecTimePack(), parser.State().audioChannels);
    };
    EXPECT_EQ(payloadsOf(frame), Longs(0xC1828305, 0x78563412, 0x0405C6FF, 0xC78889FF, 2));
    EXPECT_EQ(payloadsOf(DvFrame::Blank(144000)), Longs(-1, -1, -1, -1, 0));
    EXPECT_EQ(parser.State().audioSource[0], nullptr);
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
}

TEST(DifParser, TheFrameRatePackHasTheRateOfTheCamera) {
    // Signal type, PC1 to PC3, an error in the check byte.
    constexpr std::tuple<BYTE, BYTE, BYTE, BYTE, BYTE, LONG, LONG, LONG, LONG, LONG> kCases[] = {
        // PC1: 0x80 whole frames, 0x40 second pattern, 0x20 an integral rate; PC2: rate in BCD.
        {0xD8, 0x80, 0x60, 0xA9, 0, 60000, 1001, 2, 0, 9},
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
    for (const auto& [type, pc1, pc2, pc3, wrong, num, den, order, structure, code] : kCases) {
        const BYTE source[] = {0x60, 0xFF, 0xFF, type}, control[] = {0x61, 0xFF, 0xCA, 0xFC};
        const int check = (pc1 + pc2 + pc3) ^ 0x55;
        const BYTE pack[] = {0x64, pc1, pc2, pc3, static_cast<BYTE>(check + wrong)};
        FormatRecord f;
        ASSERT_TRUE(LookUpFormat(source, control, &f));
        ApplyFrameRatePack(pack, &f);
        EXPECT_EQ(std::vector<LONG>(&f.fieldOrder, &f.rateCode + 1),
                  Longs(order, structure, num, den, code))
            << std::hex << +type << ' ' << +pc1 << ' ' << +pc2;
    }
    DvFrame frame = LoadFrame("dvcprohd_720_60");
    frame.Put(468, {0x64, 0x80, 0x24, 0x03, (0x80 + 0x24 + 0x03) ^ 0x55});
    EXPECT_EQ(Parsed(frame).state.format.recordedRateNum, 24000);
}

/// The places of one pack in the order in which they are tried, in bytes or as hexadecimal digits
/// of sync blocks.
struct Places {
    PackId id;
    const char* opening;                 // sync blocks of the first sequence of the second half
    std::vector<std::size_t> once;       // from the start of the frame
    std::size_t even, odd;               // of each such sequence, 0 none
    const char *firstHalf, *secondHalf;  // sync blocks of each such sequence
};
const Places kPlaces[] = {
    {kTimecodePack, "", {12110}, 0, 0, "3459AB012678", "3906"},
    {kBinaryGroupPack, "", {118, 12273}, 0, 0, "4A17", ""},
    {kAudioControlPack, "", {}, 5603, 1763, "", ""},
    {kAudioRecDatePack, "", {}, 6883, 3043, "", "4A17"},
    {kAudioRecTimePack, "", {}, 8163, 4323, "B", "5B28"},
    {kVideoSourcePack, "", {}, 448, 243, "", ""},
    {kVideoControlPack, "", {}, 453, 248, "", ""},
    {kVideoRecDatePack, "4", {}, 458, 253, "", "4A17"},
    {kVideoRecTimePack, "5", {}, 463, 258, "B", "5B28"},
    {kFrameRatePack, "", {}, 468, 263, "", ""},
};

/// Puts the pack at every place, the last one first: the search must find each new place. Of a
/// place that the list names twice the first counts.
template <class Find>
void ExpectOrder(std::size_t bytes, BYTE id, const std::vector<std::size_t>& order, Find find) {
    DvFrame frame = DvFrame::Blank(bytes);
    EXPECT_EQ(find(frame.data(), bytes), nullptr);
    for (auto place = order.end(); place-- != order.begin();) {
        if (std::find(order.begin(), place, *place) == place) {
            frame[*place] = id;
            ASSERT_EQ(find(frame.data(), bytes), frame.data() + *place) << +id << " of " << bytes;
        }
    }
}

/// Bytes of a frame, sequences of half a channel.
constexpr std::size_t kShapes[][2] = {
    {120000, 5}, {240000, 5}, {288000, 6}, {576000, 6}, {84000, 6}};

TEST(PackSearch, TheBestOfSeveralPlacesWins) {
    for (const auto& [bytes, half] : kShapes) {
        for (const Places& places : kPlaces) {
            std::vector<std::size_t> order;
            const auto sync = [&order](std::size_t sequence, const std::string& digits) {
                for (const char digit : digits) {
                    const std::size_t block = std::stoul(std::string{digit}, nullptr, 16);
                    order.push_back(12000 * sequence + SubcodePackByte(block));
                }
            };
            sync(half, places.opening);
            order.insert(order.end(), places.once.begin(), places.once.end());
            for (std::size_t i = 0; i < bytes / 12000; ++i) {
                if (places.even != 0) {
                    order.push_back(i * 12000 + (i % 2 == 0 ? places.even : places.odd));
                }
                sync(i, i / half % 2 == 0 ? places.firstHalf : places.secondHalf);
            }
            order.push_back(6 * 12000 + AudioPackByte(8));  // no pack's own place
            ExpectOrder(bytes, places.id, order,
                        [&](auto... frame) { return LocatePack(frame..., places.id); });
        }
        // Each half of a channel has its audio source; last the opening one stands in, of which
        // audio block 7 holds no pack.
        for (DWORD slot = 0; slot < bytes / 12000 / half; ++slot) {
            std::vector<std::size_t> order;
            for (std::size_t i = 0; i < half; ++i) {
                const std::size_t at = slot * half + std::size_t("021345"[i] - '0');
                order.push_back(at * 12000 + AudioPackByte(at % 2 == 0 ? 3 : 0));
            }
            order.push_back((half - 1) * 12000 + AudioPackByte(7));
            ExpectOrder(bytes, 0x50, order, [slot](auto... frame) {
                return FindAudioSourcePack(frame..., slot / 2, slot % 2);
            });
        }
    }
    ExpectOrder(120000, 0x13, {12110, 110}, FindTimecodePack);
    ExpectOrder(144000, 0x42, PackBytes(12),
                [](auto... frame) { return FindPack(frame..., 0x42); });
    DvFrame frame = DvFrame::Blank(240000);
    frame[5 * 12000 + AudioPackByte(7)] = 0x50;
    for (const DWORD channel : {1u, 4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(FindAudioSourcePack(frame.data(), frame.size(), channel, 0), nullptr);
    }
}

TEST(SequenceHeaders, TheApplicationIdIsVoted) {
    constexpr std::tuple<const char*, const char*, BYTE, BYTE> kCases[] = {
        {"1177711", "7777777", 1, 1},  // four of seven decide the first sequence,
        {"0007770", "1111111", 0, 0},  // whatever follows,
        {"5555555", "7777777", 5, 5},  // an unusual one too
        {"0001117", "1111000", 1, 1},  // 7 of 14, not 6
        {"0011237", "0011237", 0, 0},  // the lower of two
        {"0011237", "0111237", 1, 1},  // the most frequent
        {"2220137", "2220137", 7, 1},  // an unclear vote
        {"7777777", "7777777", 7, 1},
    };
    for (const auto& [first, others, winner, proWinner] : kCases) {
        DvFrame frame = DvFrame::Blank(120000);
        frame.SetApplicationId(others);
        frame.SetApplicationId(first, 1);
        for (const bool pro : {false, true}) {
            const BYTE source[] = {0x60, 0xFF, 0xFF, static_cast<BYTE>(pro ? 0xE4 : 0xE3), 0xFF};
            EXPECT_EQ(VoteApplicationId({frame.data(), frame.size()}, source),
                      pro ? proWinner : winner)
                << first;
        }
    }
    DvFrame frame = DvFrame::Blank(120000);
    for (std::size_t sequence = 0; sequence < 5; ++sequence) {
        EXPECT_FALSE(VoteAudioPresent({frame.data(), frame.size()})) << sequence;
        frame[sequence * 12000 + 5] = 0x79;
    }
    EXPECT_TRUE(VoteAudioPresent({frame.data(), frame.size()})) << "a tie";
}

TEST(AudioSource, EachFieldAnswersForItself) {
    // The payload from PC1 on; result, channels, bits, rate, samples per frame, locked.
    std::vector<std::tuple<DWORD, LONG, LONG, LONG, LONG, LONG, LONG>> cases = {
        {0xD400E080, S_OK, 1, 16, 48000, 1916, 0}, {0xD400C088, S_OK, 1, 16, 44100, 1472, 0},
        {0xD400E088, S_OK, 1, 16, 44100, 1762, 0}, {0xD400C090, S_OK, 1, 16, 32000, 1073, 0},
        {0xD400E090, S_OK, 1, 16, 32000, 1284, 0}, {0xFE00C080, S_OK, 1, 16, 48000, 1580 + 62, 0},
        {0xFF00C080, S_OK, 1, 16, 48000, 0, 0},     // the largest size means unknown
        {0x5400C080, S_OK, 1, 16, 48000, 1600, 1},  // top bit clear: locked
        {0xD400C0B9, S_OK, 1, 12, 32000, 1073, 0},  // 12 bits are always 32 kHz
        {0xD400C082, S_OK, 1, 20, 48000, 1600, 0}, {0xD400C003, E_FAIL, 1, 0, 48000, 1600, 0},
        {0xD400C018, E_FAIL, 1, 16, 0, 0, 0},      {0xFFFFFFFF, S_OK, 0, 0, 0, 0, 0},
    };
    // Channels by CHN and AUDIO_MODE; - is invalid.
    const std::string channels = "111------------0212221---------0--------------------------------";
    for (unsigned at = 0; at < 64; ++at) {
        const HRESULT result = channels[at] == '-' ? E_FAIL : S_OK;
        cases.push_back({0xD400C080 | (at / 16 << 5 | at % 16) << 16, result,
                         result == S_OK ? channels[at] - '0' : 0, 16, 48000, 1600, 0});
    }
    AudioRecord r;
    for (const auto& [p, result, count, bits, rate, samples, locked] : cases) {
        const BYTE pack[] = {0x50, BYTE(p >> 24), BYTE(p >> 16), BYTE(p >> 8), BYTE(p)};
        r = {7, 7, 7, 7, 7};
        EXPECT_EQ(DecodeAudioSourcePack(pack, nullptr, &r), result) << std::hex << p;
        EXPECT_EQ(Longs(r.channels, r.bitsPerSample, r.sampleRate, r.samplesPerFrame, r.locked),
                  Longs(count, bits, rate, samples, locked))
            << std::hex << p;
    }
    EXPECT_EQ(DecodeAudioSourcePack(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(DecodeAudioSourcePack(nullptr, nullptr, &r), S_OK);
    EXPECT_EQ(r.channels, 0);
}

/// Bytes that end at inaccessible memory; near the ends of packs at every byte.
TEST(DifBounds, CutFramesParse) {
    const DvFrame ntsc = LoadFrame("dv25_525_4x3");
    CLvtDifParser parser;
    const auto step = [](std::size_t size) { return size % 12000 < 800 ? 1u : 11u; };
    for (std::size_t size = 0; size < 26000; size += step(size)) {
        const GuardedMemory copy(std::vector<BYTE>(ntsc.data(), ntsc.data() + size));
        std::ignore = parser.Parse(copy.data(), size);
        std::ignore = std::pair(parser.GetTimecodePack(), parser.GetRecTimePack());
    }
    EXPECT_EQ(parser.Parse(nullptr, 144000), E_FAIL);
    // A frame of unknown size has its picture in its packs; one of more channels than any recorder
    // writes does no harm.
    EXPECT_EQ(parser.Parse(ntsc.data(), 119999), 1);
    EXPECT_EQ(parser.State().channelCount, 0u);
    DvFrame huge = DvFrame::Blank(12 * ntsc.size());
    for (std::size_t i = 0; i < huge.size(); ++i) {
        huge[i] = ntsc.data()[i % ntsc.size()];
    }
    EXPECT_EQ(parser.Parse(huge.data(), huge.size()), 1);
    EXPECT_EQ(parser.State().audioChannels, 8);
}

}  // namespace
}  // namespace nyx::test
