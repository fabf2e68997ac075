// "rkm2vi01.dll": MPEG-2 intra frames by libavcodec's decoder.

#include <new>

#include "codecs/engine_records.h"
#include "engines/open/decoder_pool.h"
#include "engines/open/picture_writer.h"
#include "media/mpeg2.h"

namespace nyx::open {
namespace {

constexpr LONG kYuy2Code = 0;

constinit DecoderPool pool(AV_CODEC_ID_MPEG2VIDEO);

/// The picture height of the sequence header and its extension (ISO/IEC 13818-2, 6.2.2.1 and
/// 6.2.2.3); 0 when the frame has no header. It excludes padding to whole macroblocks and includes
/// lines of vertical blanking that were coded as picture.
LONG CodedHeight(ByteSpan frame) {
    const auto header = FindStartCode(frame, kMpeg2SequenceHeader);
    if (!header || !Holds(*header, 0, 3)) {
        return 0;
    }
    const BYTE* size = header->data();  // twelve bits each of width and height
    LONG height = (size[1] & 0x0F) << 8 | size[2];
    const auto extension = FindStartCode(*header, kMpeg2Extension);
    constexpr BYTE kSequenceExtension = 1;  // the extension's kind, in its first four bits
    if (extension && Holds(*extension, 0, 3) && extension->data()[0] >> 4 == kSequenceExtension) {
        height |= (extension->data()[2] >> 5 & 3) << 12;
    }
    return height;
}

bool Decode(ByteSpan frame, LONG firstRow, const Surface& surface) {
    if (CodedHeight(frame) == 0) {
        return false;  // the decoder would use an earlier stream's header
    }
    DecoderPool::Lease decoder(pool);
    decoder->Load(frame);
    const AVFrame* picture = decoder->Decode();
    return picture &&
           WritePicture(*picture, firstRow,
                        picture->interlaced_frame ? kMpegInterlacedSiting : kMpegProgressiveSiting,
                        surface, decoder->threads());
}

LONG DecodePicture(const MpegIntraRecord& record) {
    const auto surface = SurfaceOf(record.destination, record.stride, record.width, record.height,
                                   record.bytesPerPixel, kYuy2Code);
    if (!surface) {
        return -1;
    }
    bool done = false;
    try {
        done = Decode(BytesAt(record.frame, record.frameLength),
                      record.crop ? record.crop->linesDroppedAtTop : 0, *surface);
    } catch (const std::bad_alloc&) {
        // As for a frame that does not decode.
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
    const auto* picture = static_cast<const nyx::MpegIntraRecord*>(words);
    if (!picture || !picture->state) {
        return -1;
    }
    if (picture->destination) {
        return nyx::open::DecodePicture(*picture);
    }
    picture->state->codedHeight =
        nyx::open::CodedHeight(nyx::BytesAt(picture->frame, picture->frameLength));
    return picture->state->codedHeight > 0 ? 0 : -1;
}
