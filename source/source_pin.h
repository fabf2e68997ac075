#pragma once

#include <algorithm>
#include <atomic>
#include <optional>

#include "baseclasses/streams.h"
#include "platform/thread.h"
#include "source/pin_packets.h"
#include "source/read_ahead.h"
#include "source/sample_queue.h"
#include "source/seeking.h"

namespace nyx::source {

/// The pin of one stream. One thread of its own fills samples with the stream's packets; another
/// one delivers them. A sample holds a packet of video as it is, or converted audio, cut to the
/// segment and to the buffers.
class SourcePin final : public CBaseOutputPin, public PinSeeking {
  public:
    /// Delivers the packets of `sources`, which outlive its threads. `rate` is the rate of the
    /// file's video. Sets `*result` to a failure when there is no memory.
    SourcePin(FootageSource* filter, CCritSec* lock, HRESULT* result, const wchar_t* name,
              PinSources sources, AVRational rate);
    ~SourcePin() override { JoinThreads(); }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;
    /// A pin's name.
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override { return AMGetWideString(Name(), id); }
    /// No packet is dropped, however late.
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality) override { return E_NOTIMPL; }
    [[nodiscard]] HRESULT CheckMediaType(const CMediaType* type) override;
    [[nodiscard]] HRESULT GetMediaType(int position, CMediaType* type) override;
    [[nodiscard]] HRESULT CompleteConnect(IPin* peer) override;
    [[nodiscard]] HRESULT DecideBufferSize(IMemAllocator* allocator,
                                           ALLOCATOR_PROPERTIES* request) override;

    /// Whether pictures of a system of DV can be delivered: the pin is not connected, or downstream
    /// accepts them.
    bool Accepts(const AVDVProfile& system) const;

    /// Whether it delivers, alone or with another, a stream that `packets` reads.
    bool Delivers(const ReadAhead& packets, std::size_t stream) const {
        return std::ranges::any_of(sources_, [&](const PacketSource& source) {
            return source.packets == &packets && source.stream == stream;
        });
    }
    bool isVideo() const { return format_.video.has_value(); }

    /// Whether samples of audio are delivered as they are or silent, which is so at once. Any
    /// thread.
    bool isAudible() const { return audible_; }
    void SetAudible(bool audible) { audible_ = audible; }

    /// Begins to deliver, as a new segment. It ends at `cut` at the latest, where pictures follow
    /// that downstream does not accept: there the pin of the pictures sends EC_STREAM_ERROR_STOPPED
    /// with VFW_E_TYPE_NOT_ACCEPTED and the place, in milliseconds. `E_OUTOFMEMORY` when no thread
    /// can start.
    [[nodiscard]] HRESULT StartThreads(const Segment& segment, REFERENCE_TIME cut) noexcept;
    /// Waits until nothing is delivered any more. Cancel the packets first, and stop downstream or
    /// begin to flush it.
    void JoinThreads();
    /// Sets where in the file to stop; also while the segment is played.
    void StopAt(REFERENCE_TIME stop) { stop_ = stop; }
    /// When in the file the packet delivered last began.
    REFERENCE_TIME position() const { return position_; }

  private:
    void FillSamples() noexcept;
    void DeliverSamples() noexcept;
    ALLOCATOR_PROPERTIES Buffers() const;
    [[nodiscard]] HRESULT PushPicture(const Packet& packet);
    [[nodiscard]] HRESULT PushAudio(const Packet& packet);
    bool SwitchTo(const StreamFormat& format);
    bool IsAccepted(const StreamFormat& format) const;
    REFERENCE_TIME ToSegment(REFERENCE_TIME time) const;
    template <class Fill>
    [[nodiscard]] HRESULT PushSample(REFERENCE_TIME start, REFERENCE_TIME stop, std::int64_t bytes,
                                     Fill fill);
    [[nodiscard]] HRESULT DeliverOne(const FilledSample& filled);

    const StreamFormat format_;
    int typePosition_ = 0;                 ///< of the agreed type, in FillMediaType's list
    std::optional<StreamFormat> refused_;  ///< the one that downstream refused last
    std::shared_ptr<const StreamFormat> filledFormat_;     ///< of the sample filled last
    std::shared_ptr<const StreamFormat> deliveredFormat_;  ///< of the one delivered last
    Segment segment_;
    std::atomic<REFERENCE_TIME> stop_{0};
    std::atomic<REFERENCE_TIME> position_{0};
    std::atomic<bool> audible_{true};
    const PinSources sources_;
    REFERENCE_TIME cut_ = 0;   ///< where delivery ends, for all pins
    bool reachedCut_ = false;  ///< by pictures
    bool discontinuity_ = false;
    SampleQueue filled_;
    Thread filling_;
    Thread delivering_;
};

}  // namespace nyx::source
