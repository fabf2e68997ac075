#pragma once

#include <functional>

#include "host/single_pin_filter.h"

namespace nyx::host {

/// Whether a type is video with a picture header, an uncompressed format that the tool knows, or
/// audio.
bool IsVideo(const MediaType& type);
bool IsPicture(const MediaType& type);
bool IsAudio(const MediaType& type);

/// The sink of a graph, which passes each frame to a callback. Unlike the platform's sample grabber
/// it accepts VIDEOINFOHEADER2, which alone carries field order and picture aspect, and it follows
/// type changes while streaming.
class FrameSink final : public SinglePinFilter {
  public:
    /// Called for each frame in the streaming thread; must not throw. False ends the stream.
    using OnFrame = std::function<bool(IMediaSample& sample)>;

    /// Whether the sink accepts a type.
    using Accept = std::function<bool(const MediaType& type)>;

    FrameSink(OnFrame onFrame, Accept accept);

    IPin* Input() { return &pin_; }

    /// Marks this filter as a renderer, so that the graph waits for its end of stream.
    STDMETHODIMP_(ULONG) GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_RENDERER; }

  protected:
    SinglePin& Pin() override { return pin_; }
    void OnRun() override;
    [[nodiscard]] HRESULT OnStart() override;

  private:
    void ReportEndIfDue();

    SinglePin pin_{this, PINDIR_INPUT};
    Mutex endLock_;
    bool endReached_ = false;
    bool endReported_ = false;  // to the graph
};

}  // namespace nyx::host
