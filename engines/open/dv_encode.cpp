// "rkdvh.dll", encoding by libavcodec's encoder.

#include <cstring>
#include <new>

#include "engines/open/dv_entries.h"
#include "engines/open/dv_marks.h"
#include "engines/open/picture_reader.h"

namespace nyx::open {
namespace {

LibavPtr<AVCodecContext> OpenEncoder(const DvSignal& signal, bool wide) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_DVVIDEO);
    LibavPtr<AVCodecContext> context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context) {
        return nullptr;
    }
    context->width = signal.width;
    context->height = signal.height;
    context->pix_fmt = PlanesOf(signal);
    context->framerate = {signal.rateNum, signal.rateDen};
    context->time_base = av_inv_q(context->framerate);
    context->sample_aspect_ratio = av_div_q(wide ? AVRational{16, 9} : AVRational{4, 3},
                                            AVRational{signal.width, signal.height});
    context->thread_count = 1;
    context->flags |= AV_CODEC_FLAG_BITEXACT;
    return avcodec_open2(context.get(), codec, nullptr) < 0 ? nullptr : std::move(context);
}

LONG Encode(const DvSignal& signal, bool wide, const Surface& surface, void* frame) {
    av_log_set_level(AV_LOG_QUIET);
    const LibavPtr<AVCodecContext> context = OpenEncoder(signal, wide);
    const LibavPtr<AVFrame> picture(av_frame_alloc());
    const LibavPtr<AVPacket> packet(av_packet_alloc());
    if (!context || !picture || !packet) {
        return -1;
    }
    picture->format = PlanesOf(signal);
    picture->width = signal.width;
    picture->height = signal.height;
    if (av_frame_get_buffer(picture.get(), 0) < 0 || !ReadPicture(surface, picture.get()) ||
        avcodec_send_frame(context.get(), picture.get()) < 0 ||
        avcodec_receive_packet(context.get(), packet.get()) < 0 ||
        packet->size != signal.frameBytes) {
        return -1;
    }
    SetApplicationId(signal, packet->data);
    std::memcpy(frame, packet->data, static_cast<std::size_t>(packet->size));
    return packet->size;
}

}  // namespace
}  // namespace nyx::open

extern "C" LONG __stdcall dv_encode(LONG flags, void* frame, const void* source, LONG stride,
                                    LONG bytesPerPixel, LONG code) {
    using namespace nyx::open;
    const nyx::DvSignal* signal = nyx::FindDvSignal(flags);
    if (!signal || !frame) {
        return -1;
    }
    const auto surface =
        SurfaceOf(source, stride, signal->width, signal->height, bytesPerPixel, code);
    if (!surface) {
        return -1;
    }
    try {
        return Encode(*signal, (flags & nyx::kEngineWide) != 0, *surface, frame);
    } catch (const std::bad_alloc&) {
        return -1;
    }
}
