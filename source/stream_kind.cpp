#include "source/stream_kind.h"

#include <algorithm>
#include <iterator>

#include "media/dv_signals.h"
#include "media/mpeg2.h"
#include "platform/fourcc.h"

namespace nyx::source {
namespace {

constexpr DWORD kTags[] = {FourCC("QZTA"), FourCC("QZT2"), FourCC("QLLC"), FourCC("QMIC"),
                           FourCC("Q210"), FourCC("QDVC"), FourCC("QDV5"), FourCC("QDVH")};

// ISO/IEC 13818-2: an extension of table 6-2, a type of table 6-12, the rates of table 6-4.
constexpr int kSequenceExtension = 1;
constexpr int kIntraPicture = 1;
constexpr AVRational kMpegRates[] = {{0, 0},  {24000, 1001}, {24, 1},       {25, 1}, {30000, 1001},
                                     {30, 1}, {50, 1},       {60000, 1001}, {60, 1}};

}  // namespace

Coding CodingOf(const AVCodecParameters& parameters) {
    if (parameters.codec_type != AVMEDIA_TYPE_VIDEO) {
        return Coding::kOther;
    }
    if (std::ranges::find(kTags, parameters.codec_tag) != std::end(kTags)) {
        return Coding::kTagged;
    }
    switch (parameters.codec_id) {
        case AV_CODEC_ID_DVVIDEO:
            return Coding::kDv;
        case AV_CODEC_ID_MPEG2VIDEO:
            return Coding::kMpeg2;
        case AV_CODEC_ID_V210:
            return Coding::kTenBit;
        default:
            return Coding::kOther;
    }
}

DWORD DvFourCC(const AVDVProfile& profile) {
    const DvSignal* signal = FindDvSignalIf([&](const DvSignal& candidate) {
        return candidate.height == profile.height && candidate.frameBytes == profile.frame_size;
    });
    return signal ? signal->fourcc : 0;
}

bool DvIsWide(ByteSpan frame) {
    // The first sequence's VAUX source control pack, IEC 61834-4: DIF block 5, pack 9. The header
    // block's application id says how to read the pack's display field.
    constexpr std::size_t kPack = 80 * 5 + 48 + 5;
    constexpr BYTE kSourceControl = 0x61;
    if (!Holds(frame, kPack, 5) || frame.data()[kPack] != kSourceControl) {
        return false;
    }
    const int display = frame.data()[kPack + 2] & 7;
    return display == 2 || (display == 7 && (frame.data()[4] & 7) == 0);
}

MpegPicture ReadMpegPicture(ByteSpan frame) {
    MpegPicture picture;
    for (std::size_t at = FindStartCode(frame, 0); Holds(frame, at, 5);
         at = FindStartCode(frame, at)) {
        const BYTE* code = frame.data() + at;
        if (*code == kMpeg2Picture) {
            picture.intra = (code[2] >> 3 & 7) == kIntraPicture;
            break;
        }
        if (*code == kMpeg2SequenceHeader) {  // table 6-3; other codes are square pixels or unused
            const int aspect = code[4] >> 4;
            picture.aspect = aspect == 2 ? AVRational{4, 3} : AVRational{aspect == 3 ? 16 : 0, 9};
            const std::size_t rate = code[4] & 15;
            picture.rate = rate < std::size(kMpegRates) ? kMpegRates[rate] : AVRational{};
        } else if (*code == kMpeg2Extension && code[1] >> 4 == kSequenceExtension &&
                   Holds(frame, at, 7)) {  // section 6.2.2.3: factors of the rate, minus one
            picture.rate = av_mul_q(picture.rate, {(code[6] >> 5 & 3) + 1, (code[6] & 31) + 1});
        }
    }
    return picture;
}

int ShownLines(int width, int codedLines) {
    for (const Mpeg2Blanking& row : kMpeg2Blanking) {
        if (row.width == width && row.codedLines == codedLines) {
            return row.lines;
        }
    }
    return codedLines == 1088 ? 1080 : codedLines;
}

}  // namespace nyx::source
