#pragma once

#include <functional>
#include <thread>
#include <utility>

#include "host/single_pin_filter.h"

namespace nyx::host {

/// Frames that a program has at hand, and what they are.
struct FrameList {
    MediaType type;
    std::pair<LONG, LONG> rate{1, 1};  ///< frames per second, a fraction of positive numbers
    LONG count = 0;
    LONG largest = 0;  ///< bytes of the longest frame
    /// Puts a frame into a buffer of at least `largest` bytes and tells its length.
    std::function<HRESULT(LONG index, BYTE* to, LONG* bytes)> read;

    /// When a frame begins, in 100-ns units, rounded down; and which one lasts at such a time.
    REFERENCE_TIME TimeOf(LONG index) const;
    LONG FrameAt(REFERENCE_TIME time) const;
};

/// The source filter that plays given frames into a graph: every frame a sync point with its times,
/// as fast as downstream takes them, then end of stream. A frame that downstream refuses is told to
/// the graph and the next one follows. Each start from stop plays from the first frame.
class FrameSource final : public SinglePinFilter {
  public:
    explicit FrameSource(FrameList frames);

    IPin* Output() { return &pin_; }

  protected:
    SinglePin& Pin() override { return pin_; }
    [[nodiscard]] HRESULT OnStart() override;
    void OnStop() override;

  private:
    ~FrameSource() override;

    [[nodiscard]] HRESULT AgreeOnAllocator(IMemInputPin& receiver, IMemAllocator** allocator) const;
    void Stream();
    [[nodiscard]] HRESULT StreamFrame(LONG index);
    [[nodiscard]] HRESULT FillSample(LONG index, IMediaSample& sample) const;

    const FrameList frames_;
    SinglePin pin_{this, PINDIR_OUTPUT};
    std::thread thread_;
    std::atomic<bool> stopped_{false};
};

}  // namespace nyx::host
