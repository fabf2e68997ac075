// "rkm2vi01.dll": MPEG-2 intra frames by libavcodec's decoder.

#include <new>
#include <optional>

#include "codecs/engine_records.h"
#include "engines/open/decoder_pool.h"
#include "engines/open/picture_writer.h"

namespace nyx::open {
namespace {

constexpr LONG kYuy2 = 0;

__constinit DecoderPool pool(AV_CODEC_ID_MPEG2VIDEO);

/// The offset behind the start code `code` of the frame, searched from `from` on.
std::optional<std::size_t> FindStartCode(ByteSpan frame, BYTE code, std::size_t from) {
    const BYTE* bytes = frame.data();
    for (std::size_t i = from; i + 4 <= frame.size(); ++i) {
        if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1 && bytes[i + 3] == code) {
            return i + 4;
        }
    }
    return std::nullopt;
}

/// The picture height of the sequence header and its extension (ISO/IEC 13818-2, 6.2.2.1 and
/// 6.2.2.3); 0 when the frame has no header. A stream's padding to whole macroblocks is not in it,
/// lines of vertical blanking that were coded as picture are.
LONG CodedHeight(ByteSpan frame) {
    constexpr BYTE kSequenceHeader = 0xB3;
    constexpr BYTE kExtension = 0xB5;
    const auto header = FindStartCode(frame, kSequenceHeader, 0);
    if (!header || !frame.Holds(*header, 3)) {
        return 0;
    }
    const BYTE* size = frame.data() + *header;  // twelve bits each of width and height
    LONG height = (size[1] & 0x0F) << 8 | size[2];
    const auto extension = FindStartCode(frame, kExtension, *header);
    constexpr BYTE kSequenceExtension = 1;  // the extension's kind, in its first four bits
    if (extension && frame.Holds(*extension, 3) &&
        frame.data()[*extension] >> 4 == kSequenceExtension) {
        height |= (frame.data()[*extension + 2] >> 5 & 3) << 12;
    }
    return height;
}

bool Decode(ByteSpan frame, LONG firstRow, const Surface& surface) {
    if (CodedHeight(frame) == 0) {
        return false;  // an earlier stream's header must not stand in
    }
    DecoderPool::Lease decoder(pool);
    decoder->Load(frame);
    const AVFrame* picture = decoder->Decode();
    return picture &&
           WritePicture(*picture, firstRow,
                        picture->interlaced_frame ? kMpegInterlacedSiting : kMpegProgressiveSiting,
                        surface);
}

LONG DecodePicture(const MpegIntraPictureRecord& record) {
    const auto surface = SurfaceOf(record.destination, record.stride, record.width, record.height,
                                   record.bytesPerPixel, kYuy2);
    if (!surface) {
        return -1;
    }
    bool done = false;
    try {
        done = Decode(ByteSpan(record.frame, record.frameLength),
                      record.crop ? record.crop->linesDroppedAtTop : 0, *surface);
    } catch (const std::bad_alloc&) {
        // Black as for a frame that does not decode.
    }
    if (!done) {
        FillBlack(*surface);
    }
    return done ? 0 : -1;
}

}  // namespace
}  // namespace nyx::open

// The header call has no destination.
extern "C" LONG __cdecl m2vi_decode(void* words) {
    const auto* picture = static_cast<const nyx::MpegIntraPictureRecord*>(words);
    if (!picture || !picture->state) {
        return -1;
    }
    if (picture->destination) {
        return nyx::open::DecodePicture(*picture);
    }
    picture->state->codedHeight =
        nyx::open::CodedHeight(nyx::ByteSpan(picture->frame, picture->frameLength));
    return picture->state->codedHeight > 0 ? 0 : -1;
}
