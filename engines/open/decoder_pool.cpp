#include "engines/open/decoder_pool.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "platform/system.h"

namespace nyx::open {
namespace {

/// Pictures beyond this are damage: no format here has half as many pixels.
constexpr std::int64_t kMaxPixels = std::int64_t{4096} * 2304;

/// The library's fastest inverse transform differs from its reference by one step in one sample of
/// twenty.
bool WantsExactPictures() {
    const char* value = std::getenv("NYX_OPEN_ENGINES");
    return value && std::strcmp(value, "exact") == 0;
}

template <class Object>
Object* Checked(Object* object) {
    if (!object) {
        throw std::bad_alloc();
    }
    return object;
}

}  // namespace

FrameDecoder::FrameDecoder(AVCodecID codec) {
    av_log_set_level(AV_LOG_QUIET);
    const AVCodec* decoder = Checked(avcodec_find_decoder(codec));
    context_.reset(Checked(avcodec_alloc_context3(decoder)));
    context_->thread_count = 1;  // the caller's thread is the only one
    context_->flags |= AV_CODEC_FLAG_LOW_DELAY;
    context_->idct_algo = FF_IDCT_XVID;
    if (WantsExactPictures()) {
        context_->flags |= AV_CODEC_FLAG_BITEXACT;
        context_->idct_algo = FF_IDCT_SIMPLE;
    }
    context_->max_pixels = kMaxPixels;
    packet_.reset(Checked(av_packet_alloc()));
    picture_.reset(Checked(av_frame_alloc()));
    if (avcodec_open2(context_.get(), decoder, nullptr) < 0) {
        throw std::bad_alloc();
    }
}

BYTE* FrameDecoder::Load(ByteSpan frame) {
    if (packet_->size != static_cast<int>(frame.size()) || !av_buffer_is_writable(packet_->buf)) {
        av_packet_unref(packet_.get());
        if (av_new_packet(packet_.get(), static_cast<int>(frame.size())) < 0) {
            throw std::bad_alloc();
        }
    }
    std::memcpy(packet_->data, frame.data(), frame.size());
    return packet_->data;
}

const AVFrame* FrameDecoder::Decode() {
    av_frame_unref(picture_.get());
    avcodec_flush_buffers(context_.get());
    if (avcodec_send_packet(context_.get(), packet_.get()) < 0) {
        return nullptr;
    }
    if (avcodec_receive_frame(context_.get(), picture_.get()) >= 0) {
        return picture_.get();
    }
    // The decoder held the picture back; the end of the stream flushes it.
    avcodec_send_packet(context_.get(), nullptr);
    return avcodec_receive_frame(context_.get(), picture_.get()) >= 0 ? picture_.get() : nullptr;
}

DecoderPool::~DecoderPool() {
    while (idle_ && !ProcessEnds()) {
        PopIdle().reset();
    }
}

std::unique_ptr<FrameDecoder> DecoderPool::PopIdle() {
    const std::lock_guard<SpinLock> hold(lock_);
    std::unique_ptr<FrameDecoder> decoder(idle_);
    idle_ = decoder ? decoder->next_ : nullptr;
    return decoder;
}

std::unique_ptr<FrameDecoder> DecoderPool::Acquire() {
    std::unique_ptr<FrameDecoder> decoder = PopIdle();
    return decoder ? std::move(decoder) : std::make_unique<FrameDecoder>(codec_);
}

void DecoderPool::Release(std::unique_ptr<FrameDecoder> decoder) noexcept {
    const std::lock_guard<SpinLock> hold(lock_);
    decoder->next_ = idle_;
    idle_ = decoder.release();
}

}  // namespace nyx::open
