// "rkdvh.dll", decoding: DV25, DVCPRO25, DVCPRO50 and DVCPRO HD by libavcodec's decoder.

#include <new>

#include "engines/open/decoder_pool.h"
#include "engines/open/dv_entries.h"
#include "engines/open/dv_marks.h"
#include "engines/open/picture_writer.h"

namespace nyx::open {
namespace {

constinit DecoderPool pool(AV_CODEC_ID_DVVIDEO);

LONG Decode(const DvSignal& signal, const void* frame, const Surface& surface) {
    DecoderPool::Lease decoder(pool);
    MarkFrame(signal, decoder->Load(BytesAt(frame, static_cast<std::size_t>(signal.frameBytes))));
    const AVFrame* picture = decoder->Decode();
    return picture && WritePicture(*picture, 0, kDvSiting, surface, decoder->threads()) ? 0 : -1;
}

}  // namespace
}  // namespace nyx::open

extern "C" LONG __stdcall dv_decode(LONG flags, const void* frame, void* destination, LONG stride,
                                    LONG bytesPerPixel, LONG code) {
    using namespace nyx::open;
    const nyx::DvSignal* signal = nyx::FindDvSignal(flags);
    if (!signal || !frame) {
        return -1;
    }
    const auto surface =
        SurfaceOf(destination, stride, signal->width, signal->height, bytesPerPixel, code);
    if (!surface) {
        return -1;
    }
    LONG result = -1;
    try {
        result = Decode(*signal, frame, *surface);
    } catch (const std::bad_alloc&) {
        // As for a frame that does not decode.
    }
    if (result < 0) {
        FillBlack(*surface);
    }
    return result;
}
