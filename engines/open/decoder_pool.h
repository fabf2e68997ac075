#pragma once

#include <mutex>
#include <vector>

#include "engines/open/libavcodec.h"
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
    LibavPtr<AVCodecContext> context_;
    LibavPtr<AVPacket> packet_;
    LibavPtr<AVFrame> picture_;
};

/// Decoders of one kind that wait for the next call: opening one for every frame would cost more
/// than many a frame. Any thread.
class DecoderPool {
  public:
    explicit DecoderPool(AVCodecID codec) : codec_(codec) {}

    /// A decoder that goes back to the pool at the end of its holder's life.
    class Lease {
      public:
        explicit Lease(DecoderPool& pool) : pool_(pool), decoder_(pool.Take()) {}
        ~Lease() { pool_.Return(std::move(decoder_)); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        FrameDecoder* operator->() const { return decoder_.get(); }

      private:
        DecoderPool& pool_;
        std::unique_ptr<FrameDecoder> decoder_;
    };

  private:
    std::unique_ptr<FrameDecoder> Take();
    void Return(std::unique_ptr<FrameDecoder> decoder);

    AVCodecID codec_;
    std::mutex lock_;
    std::vector<std::unique_ptr<FrameDecoder>> idle_;
};

}  // namespace nyx::open
