#pragma once

#include <atomic>
#include <list>
#include <optional>

#include "baseclasses/streams.h"
#include "platform/thread.h"
#include "source/read_ahead.h"
#include "source/sample_queue.h"
#include "source/seeking.h"

namespace nyx::source {

/// The pin of one stream. One thread of its own puts the stream's packets into samples, of video as
/// they are, one a sample, of sound converted, and cut to the segment and to the buffers; another
/// one delivers them.
class SourcePin final : public CBaseOutputPin, public PinSeeking {
  public:
    /// `rate` is the one of the file's video. `*result` becomes a failure without memory.
    SourcePin(CBaseFilter* filter, Seekable* seekable, CCritSec* lock, HRESULT* result,
              const wchar_t* name, const StreamFormat& format, AVRational rate);
    ~SourcePin() override { FinishStreaming(); }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;
    /// A pin's name.
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override { return AMGetWideString(Name(), id); }
    /// Every packet is wanted, however late.
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality) override { return E_NOTIMPL; }
    [[nodiscard]] HRESULT CheckMediaType(const CMediaType* type) override;
    [[nodiscard]] HRESULT GetMediaType(int position, CMediaType* type) override;
    [[nodiscard]] HRESULT CompleteConnect(IPin* peer) override;
    [[nodiscard]] HRESULT DecideBufferSize(IMemAllocator* allocator,
                                           ALLOCATOR_PROPERTIES* request) override;

    /// Whether downstream takes, or is not there to refuse, pictures of a system of DV.
    bool Takes(const AVDVProfile& system) const;

    /// Begins to deliver what `packets` holds of `stream`, as a new segment that ends at `cut` at
    /// the latest: what follows has pictures that downstream does not take. There the pin of the
    /// pictures sends EC_STREAM_ERROR_STOPPED with VFW_E_TYPE_NOT_ACCEPTED and the place in the
    /// file, in milliseconds. `E_OUTOFMEMORY` when there can be no thread.
    [[nodiscard]] HRESULT StartStreaming(FootageFile* file, ReadAhead* packets, std::size_t stream,
                                         const Segment& segment, REFERENCE_TIME cut);
    /// Waits until nothing is delivered any more. The packets were cancelled, and downstream was
    /// stopped or begins to flush.
    void FinishStreaming();
    /// Where in the file to stop; also while the segment is played.
    void StopAt(REFERENCE_TIME stop) { stop_ = stop; }
    /// When in the file the packet delivered last began.
    REFERENCE_TIME position() const { return position_; }

  private:
    void FillSamples();
    void DeliverSamples();
    ALLOCATOR_PROPERTIES Buffers() const;
    [[nodiscard]] HRESULT PutPicture(const Packet& packet);
    [[nodiscard]] HRESULT PushAudio(const Packet& packet);
    bool Follow(const StreamFormat& format);
    bool IsTaken(const StreamFormat& format) const;
    [[nodiscard]] HRESULT FillType(const StreamFormat& format, CMediaType* type) const;
    REFERENCE_TIME InSegment(REFERENCE_TIME time) const;
    template <class Fill>
    [[nodiscard]] HRESULT PutSample(REFERENCE_TIME start, REFERENCE_TIME stop, std::int64_t bytes,
                                    Fill fill);
    [[nodiscard]] HRESULT DeliverOne(const FilledSample& filled);

    const StreamFormat format_;
    int form_ = 0;                         ///< of FillMediaType's
    std::list<StreamFormat> formats_;      ///< that downstream has taken, the agreed one first
    std::optional<StreamFormat> refused_;  ///< the one refused last
    const StreamFormat* filledFormat_ = nullptr;     ///< of the sample filled last
    const StreamFormat* deliveredFormat_ = nullptr;  ///< of the one delivered last
    Segment segment_;
    std::atomic<REFERENCE_TIME> stop_{0};
    std::atomic<REFERENCE_TIME> position_{0};
    FootageFile* file_ = nullptr;
    ReadAhead* packets_ = nullptr;
    std::size_t stream_ = 0;
    REFERENCE_TIME cut_ = 0;   ///< where what can be delivered ends, for all pins
    bool reachedCut_ = false;  ///< by pictures
    bool discontinuity_ = false;
    SampleQueue filled_;
    Thread filling_;
    Thread delivering_;
};

}  // namespace nyx::source
