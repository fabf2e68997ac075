#pragma once

#include "codecs/spin_lock.h"
#include "media/libav.h"
#include "platform/byte_span.h"

namespace nyx::open {

/// A libavcodec decoder for frames that stand for themselves, with room for one frame's bytes. For
/// one thread at a time.
class FrameDecoder {
  public:
    /// Throws std::bad_alloc when it cannot be had.
    explicit FrameDecoder(AVCodecID codec);

    /// Copies the frame into a buffer of the decoder's own, which may be edited before Decode.
    BYTE* Load(ByteSpan frame);

    /// Decodes what was loaded. Null when it gives no picture; the picture lives until the next
    /// call. What was decoded before has no influence.
    const AVFrame* Decode();

  private:
    friend class DecoderPool;

    LibavPtr<AVCodecContext> context_;
    LibavPtr<AVPacket> packet_;
    LibavPtr<AVFrame> picture_;
    FrameDecoder* next_ = nullptr;  ///< of those that wait
};

/// Decoders of one kind that wait for the next call: opening one for every frame would cost more
/// than many a frame. Any thread. To live outside functions, where the compiler can build it and no
/// thread library has to guard its making; what waits is freed together with the engine, but left
/// alone when the process ends.
class DecoderPool {
  public:
    explicit constexpr DecoderPool(AVCodecID codec) : codec_(codec) {}
    ~DecoderPool();
    DecoderPool(const DecoderPool&) = delete;
    DecoderPool& operator=(const DecoderPool&) = delete;

    /// A decoder that goes back to the pool at the end of its holder's life.
    class Lease {
      public:
        explicit Lease(DecoderPool& pool) : pool_(pool), decoder_(pool.Take()) {}
        ~Lease() { pool_.Return(decoder_); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        FrameDecoder* operator->() const { return decoder_; }

      private:
        DecoderPool& pool_;
        FrameDecoder* decoder_;
    };

  private:
    /// The one that waits at the head of the list; null when none does.
    FrameDecoder* TakeIdle();
    /// Throws std::bad_alloc when a new one is needed and cannot be had.
    FrameDecoder* Take();
    void Return(FrameDecoder* decoder);

    AVCodecID codec_;
    SpinLock lock_;
    FrameDecoder* idle_ = nullptr;  ///< owned, and with it all behind it
};

}  // namespace nyx::open
