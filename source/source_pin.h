#pragma once

#include <atomic>
#include <thread>

#include "baseclasses/streams.h"
#include "source/read_ahead.h"
#include "source/seeking.h"

namespace nyx::source {

/// The pin of one stream. It takes the stream's packets and delivers them on a thread of its own.
class SourcePin : public CBaseOutputPin, public PinSeeking {
  public:
    /// `rate` is the one of the file's video. `*result` becomes a failure without memory.
    SourcePin(CBaseFilter* filter, Seekable* seekable, CCritSec* lock, HRESULT* result,
              const wchar_t* name, const StreamFormat& format, AVRational rate);
    ~SourcePin() override { FinishStreaming(); }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;
    /// A pin's name.
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override;
    /// Every packet is wanted, however late: `E_NOTIMPL`.
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* sender, Quality quality) override;
    HRESULT CheckMediaType(const CMediaType* type) override;
    HRESULT GetMediaType(int position, CMediaType* type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;

    /// Begins to deliver what `packets` holds of `stream`, as a new segment. `E_OUTOFMEMORY` when
    /// there can be no thread.
    HRESULT StartStreaming(ReadAhead* packets, std::size_t stream, const Segment& segment);
    /// Waits until nothing is delivered any more. The packets were cancelled, and downstream was
    /// stopped or begins to flush.
    void FinishStreaming();

    /// Where in the file to stop; also while the segment is played.
    void StopAt(REFERENCE_TIME stop) { stop_ = stop; }
    /// When in the file the packet delivered last began.
    REFERENCE_TIME position() const { return position_; }

  protected:
    /// How many buffers of what size samples need.
    virtual ALLOCATOR_PROPERTIES Buffers() const = 0;
    /// Delivers one packet: `S_OK`, `S_FALSE` when it lies behind the segment, or a failure.
    virtual HRESULT DeliverPacket(const Packet& packet) = 0;

    /// Fills a buffer by `fill(pointer, room)`, which returns the bytes put there, 0 for too little
    /// room, and delivers it with the times that `start` and `stop` of the file have in the
    /// segment.
    template <class Fill>
    HRESULT DeliverSample(REFERENCE_TIME start, REFERENCE_TIME stop, Fill fill);

    const StreamFormat format_;
    Segment segment_;
    std::atomic<REFERENCE_TIME> stop_{0};

  private:
    void Stream();

    ReadAhead* packets_ = nullptr;
    std::size_t stream_ = 0;
    bool discontinuity_ = false;
    std::atomic<REFERENCE_TIME> position_{0};
    std::thread thread_;
};

/// A video stream's pin: a packet is a sample.
class VideoPin final : public SourcePin {
  public:
    using SourcePin::SourcePin;

  protected:
    ALLOCATOR_PROPERTIES Buffers() const override;
    HRESULT DeliverPacket(const Packet& packet) override;
};

/// An audio stream's pin: packets are converted, cut to the segment and to the buffers.
class AudioPin final : public SourcePin {
  public:
    using SourcePin::SourcePin;

  protected:
    ALLOCATOR_PROPERTIES Buffers() const override;
    HRESULT DeliverPacket(const Packet& packet) override;
};

}  // namespace nyx::source
