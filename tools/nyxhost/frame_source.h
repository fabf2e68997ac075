#pragma once

#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "host/single_pin_filter.h"
#include "picture_format.h"

namespace nyx::host {

/// Frames in memory or in a file of their own, with their type.
struct FrameList {
    MediaType type;
    std::pair<LONG, LONG> rate{1, 1};  ///< frames per second, a fraction of positive numbers
    LONG count = 0;
    LONG largest = 0;  ///< bytes of the largest frame
    /// Copies a frame into a buffer of at least `largest` bytes and sets its length.
    std::function<HRESULT(LONG index, BYTE* to, LONG* bytes)> read;

    /// The start of a frame in 100-ns units, rounded down, and the frame shown at such a time.
    REFERENCE_TIME TimeOf(LONG index) const;
    LONG FrameAt(REFERENCE_TIME time) const;

    /// Limits the list to `frames` of its frames from number `first` on, which becomes number 0.
    void Select(LONG first, LONG frames);
};

/// The pictures of a file that contains nothing else. RGB rows run from bottom to top, with a
/// negative height from top to bottom. `rate` is frames per second, a fraction. Failure kInput when
/// the file cannot be read or its size is not a whole number of pictures.
FrameList OpenRawPictures(const std::string& path, const PictureFormat& format, LONG width,
                          LONG height, std::pair<LONG, LONG> rate);

/// A source filter that plays a list of frames: every frame is a sync point with its times,
/// delivered as fast as downstream accepts it, then the stream ends. A frame that downstream
/// refuses is reported to the graph and skipped. Each start from stop plays from the first frame.
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
