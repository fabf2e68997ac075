#pragma once

#include <memory>
#include <utility>

#include "codecs/spin_lock.h"
#include "media/libav.h"
#include "platform/byte_span.h"

namespace nyx::open {

/// A libavcodec decoder for independent frames, with a buffer for one frame's bytes. For one thread
/// at a time.
class FrameDecoder {
  public:
    /// Throws std::bad_alloc when libavcodec cannot open a decoder.
    explicit FrameDecoder(AVCodecID codec);

    /// Copies the frame into a buffer of the decoder's own, which may be edited before Decode.
    BYTE* Load(ByteSpan frame);

    /// Decodes the loaded frame, independently of earlier ones, its parts on several threads. Null
    /// when it gives no picture; the picture lives until the next call.
    const AVFrame* Decode();

    /// The number of threads that may work on a picture, at least 1.
    int threads() const { return threads_; }

  private:
    friend class DecoderPool;

    /// Calls `part` for `count` arguments of `size` bytes each, as libavcodec asks for.
    static int Execute(AVCodecContext* context, int (*part)(AVCodecContext*, void*), void* first,
                       int* results, int count, int size);

    LibavPtr<AVCodecContext> context_;
    LibavPtr<AVPacket> packet_;
    LibavPtr<AVFrame> picture_;
    int threads_ = 1;
    bool raised_ = false;           ///< a part ended by an exception: the context is not used again
    FrameDecoder* next_ = nullptr;  ///< in the pool's list
};

/// Idle decoders of one kind: opening one for every frame could take longer than decoding it. Any
/// thread. An instance is a constant-initialised global, which no thread library has to guard. Idle
/// decoders are freed together with the engine, but not when the process ends.
class DecoderPool {
  public:
    explicit constexpr DecoderPool(AVCodecID codec) : codec_(codec) {}
    ~DecoderPool();
    DecoderPool(const DecoderPool&) = delete;
    DecoderPool& operator=(const DecoderPool&) = delete;

    /// A decoder that returns to the pool at the end of the lease.
    class Lease {
      public:
        explicit Lease(DecoderPool& pool) : pool_(pool), decoder_(pool.Acquire()) {}
        ~Lease() { pool_.Release(std::move(decoder_)); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        FrameDecoder* operator->() const { return decoder_.get(); }

      private:
        DecoderPool& pool_;
        std::unique_ptr<FrameDecoder> decoder_;
    };

  private:
    /// The first idle decoder; null when there is none.
    std::unique_ptr<FrameDecoder> PopIdle();
    /// An idle decoder, or a new one. Throws std::bad_alloc when that cannot be opened.
    std::unique_ptr<FrameDecoder> Acquire();
    void Release(std::unique_ptr<FrameDecoder> decoder) noexcept;

    AVCodecID codec_;
    SpinLock lock_;
    FrameDecoder* idle_ = nullptr;  ///< owned, with all that follow
};

}  // namespace nyx::open
