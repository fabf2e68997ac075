#include "engines/open/decoder_pool.h"

#include <cstring>
#include <mutex>
#include <new>
#include <tuple>

#include "engines/open/options.h"
#include "engines/open/parallel.h"
#include "platform/system.h"

namespace nyx::open {
namespace {

/// Pictures beyond this are damage: no format here has half as many pixels.
constexpr std::int64_t kMaxPixels = std::int64_t{4096} * 2304;

/// The parts of an MPEG-2 picture: always so many, so that its bytes do not depend on the number of
/// threads where slices are damaged.
constexpr int kSliceParts = 16;

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
    const Options options = ReadOptions();
    threads_ = CountThreads(options.maxThreads);
    const AVCodec* decoder = Checked(avcodec_find_decoder(codec));
    context_.reset(Checked(avcodec_alloc_context3(decoder)));
    context_->opaque = this;
    context_->execute = &Execute;
    context_->thread_count = 1;  // while it opens: the library is to start no thread
    context_->flags |= AV_CODEC_FLAG_LOW_DELAY;
    context_->idct_algo = FF_IDCT_XVID;
    if (options.exact) {
        context_->flags |= AV_CODEC_FLAG_BITEXACT;
        context_->idct_algo = FF_IDCT_SIMPLE;
    }
    context_->max_pixels = kMaxPixels;
    packet_.reset(Checked(av_packet_alloc()));
    picture_.reset(Checked(av_frame_alloc()));
    if (avcodec_open2(context_.get(), decoder, nullptr) < 0) {
        throw std::bad_alloc();
    }
    // An open context without threads of its own uses these two fields for nothing else: MPEG-2
    // pictures get as many parts, and `execute` is called for each. DV always calls it.
    context_->thread_count = kSliceParts;
    context_->active_thread_type = FF_THREAD_SLICE;
}

int FrameDecoder::Execute(AVCodecContext* context, int (*part)(AVCodecContext*, void*), void* first,
                          int* results, int count, int size) {
    auto* decoder = static_cast<FrameDecoder*>(context->opaque);
    const bool done = RunParts(decoder->threads_, count, [&](int i) {
        const int result = part(context, static_cast<BYTE*>(first) + std::ptrdiff_t{i} * size);
        if (results) {
            results[i] = result;
        }
    });
    decoder->raised_ |= !done;
    return 0;
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
    int result = avcodec_receive_frame(context_.get(), picture_.get());
    if (result < 0) {
        // The decoder held the picture back; the end of the stream flushes it.
        avcodec_send_packet(context_.get(), nullptr);
        result = avcodec_receive_frame(context_.get(), picture_.get());
    }
    return result < 0 || raised_ ? nullptr : picture_.get();
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
    if (decoder->raised_) {
        std::ignore = decoder.release();  // freeing it could raise again
        return;
    }
    const std::lock_guard<SpinLock> hold(lock_);
    decoder->next_ = idle_;
    idle_ = decoder.release();
}

}  // namespace nyx::open
