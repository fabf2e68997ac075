#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "clip_reader.h"
#include "host/single_pin_filter.h"

namespace nyx::host {

/// A frame that did not go through, and what was answered for it.
struct FrameFault {
    LONG frame;
    HRESULT result;
};

/// What one pass over the clip came to.
struct PassReport {
    LONG sent = 0;                                      ///< frames handed downstream
    std::chrono::steady_clock::duration receiveTime{};  ///< inside the receivers' Receive
    std::vector<FrameFault> faults;                     ///< frames refused downstream, in order
    HRESULT ended = S_OK;  ///< why the pass ended early: reading or a buffer failed
    LONG endedAt = 0;      ///< the frame at which it ended early
};

/// The source filter that plays an AVI clip's video stream into a graph: every frame a sync point
/// with its times, as fast as downstream takes them, then end of stream. A frame that downstream
/// cannot decode is noted and the next one follows. Each start from stop plays from the first
/// frame.
class ClipSource final : public SinglePinFilter {
  public:
    /// Plays the first `frames` frames of `clip`, which must outlive the filter. `videoInfo2`
    /// chooses the media type's block form.
    ClipSource(const ClipReader& clip, LONG frames, bool videoInfo2);

    /// The same with the media type as given.
    ClipSource(const ClipReader& clip, LONG frames, MediaType type);

    IPin* Output() { return &pin_; }

    /// The only type that the pin offers.
    const MediaType& Type() const { return pin_.proposals.front(); }

    /// The frame being delivered; for code called from within the delivery, in the same thread.
    LONG CurrentFrame() const { return current_; }

    /// Asks the running pass to end; any thread.
    void Abort() { aborted_ = true; }

    /// The last pass. Only while the filter is stopped.
    const PassReport& Report() const { return report_; }

  protected:
    SinglePin& Pin() override { return pin_; }
    HRESULT OnStart() override;
    void OnStop() override;

  private:
    ~ClipSource() override;

    HRESULT AgreeOnAllocator(IMemInputPin& receiver, IMemAllocator** allocator) const;
    void Stream();
    HRESULT StreamFrame(LONG frame);
    HRESULT FillSample(LONG frame, IMediaSample& sample) const;

    const ClipReader& clip_;
    LONG frames_;
    SinglePin pin_{this, PINDIR_OUTPUT};
    std::thread thread_;
    std::atomic<LONG> current_{0};
    std::atomic<bool> aborted_{false};
    PassReport report_;
};

}  // namespace nyx::host
