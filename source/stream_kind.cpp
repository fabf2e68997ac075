#include "source/stream_kind.h"

#include "platform/fourcc.h"

namespace nyx::source {
namespace {

/// Our own FourCCs, and the bit count where a container has none.
constexpr StreamKind kTagged[] = {
    {Coding::kTagged, FourCC("QZTA"), 24}, {Coding::kTagged, FourCC("QZT2"), 24},
    {Coding::kTagged, FourCC("QLLC"), 24}, {Coding::kTagged, FourCC("QMIC"), 24},
    {Coding::kTagged, FourCC("Q210"), 20}, {Coding::kTagged, FourCC("QDVC"), 24},
    {Coding::kTagged, FourCC("QDV5"), 24}, {Coding::kTagged, FourCC("QDVH"), 24},
};

struct CodecRow {
    AVCodecID codec;
    StreamKind kind;
};
constexpr CodecRow kCodecs[] = {
    {AV_CODEC_ID_DVVIDEO, {Coding::kDv, 0, 24}},
    {AV_CODEC_ID_MPEG2VIDEO, {Coding::kMpeg2, FourCC("QMIC"), 24}},
    {AV_CODEC_ID_V210, {Coding::kTenBit, FourCC("Q210"), 20}},
};

struct DvRow {
    int lines;
    int channels;  ///< DIF channels of a frame, 25 Mbit/s each
    DWORD fourcc;
};
constexpr DvRow kDv[] = {
    {480, 1, FourCC("QDVC")}, {576, 1, FourCC("QDVC")},  {480, 2, FourCC("QDV5")},
    {576, 2, FourCC("QDV5")}, {1080, 4, FourCC("QDVH")}, {720, 2, FourCC("QDVH")},
};

struct LinesRow {
    int width;
    int coded;
    int shown;
};
constexpr LinesRow kLines[] = {
    {720, 608, 576},  // SMPTE 356M, 625 lines
    {720, 512, 486},  // SMPTE 356M, 525 lines
    {1440, 1088, 1080},
    {1920, 1088, 1080},
};

// ISO/IEC 13818-2, table 6-1.
constexpr BYTE kPictureStart = 0x00;
constexpr BYTE kFirstSlice = 0x01;
constexpr BYTE kLastSlice = 0xAF;
constexpr BYTE kSequenceHeader = 0xB3;
constexpr int kIntraPicture = 1;

}  // namespace

std::optional<StreamKind> StreamKindOf(const AVCodecParameters& parameters) {
    if (parameters.codec_type != AVMEDIA_TYPE_VIDEO) {
        return std::nullopt;
    }
    for (StreamKind kind : kTagged) {
        if (kind.fourcc == parameters.codec_tag) {
            if (parameters.bits_per_coded_sample > 0 && parameters.bits_per_coded_sample <= 64) {
                kind.bitCount = static_cast<WORD>(parameters.bits_per_coded_sample);
            }
            return kind;
        }
    }
    for (const CodecRow& row : kCodecs) {
        if (row.codec == parameters.codec_id) {
            return row.kind;
        }
    }
    return std::nullopt;
}

DWORD DvFourCC(const AVDVProfile& profile) {
    for (const DvRow& row : kDv) {
        if (row.lines == profile.height && row.channels == profile.n_difchan) {
            return row.fourcc;
        }
    }
    return 0;
}

bool DvIsWide(ByteSpan frame) {
    // The first sequence's VAUX source control pack, IEC 61834-4: DIF block 5, pack 9, and the
    // header block's application id, which tells how to read the pack's display field.
    constexpr std::size_t kSourceControl = 80 * 5 + 48 + 5;
    constexpr BYTE kSourceControlPack = 0x61;
    const std::optional<BYTE> last = frame.ByteAt(kSourceControl + 2);
    if (!last || frame.data()[kSourceControl] != kSourceControlPack) {
        return false;
    }
    const int display = *last & 7;
    return display == 2 || ((frame.data()[4] & 7) == 0 && display == 7);
}

MpegPicture ReadMpegPicture(ByteSpan frame) {
    MpegPicture picture;
    for (std::size_t at = 0; frame.Holds(at, 8); ++at) {
        const BYTE* code = frame.data() + at;
        if (code[0] != 0 || code[1] != 0 || code[2] != 1) {
            continue;
        }
        if (code[3] == kSequenceHeader) {
            picture.aspectCode = code[7] >> 4;
        } else if (code[3] == kPictureStart) {
            picture.intra = (code[5] >> 3 & 7) == kIntraPicture;
            break;
        } else if (code[3] >= kFirstSlice && code[3] <= kLastSlice) {
            break;
        }
    }
    return picture;
}

int ShownLines(int width, int codedLines) {
    for (const LinesRow& row : kLines) {
        if (row.width == width && row.coded == codedLines) {
            return row.shown;
        }
    }
    return codedLines;
}

}  // namespace nyx::source
