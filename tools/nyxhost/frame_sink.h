#pragma once

#include <functional>

#include "host/single_pin_filter.h"

namespace nyx::host {

/// Whether a type is of video with a picture header, of an uncompressed format that the tool knows,
/// or of sound.
bool IsVideo(const MediaType& type);
bool IsPicture(const MediaType& type);
bool IsValid(const MediaType& type);

/// The end of a graph that looks at each frame with the type that it came with. Unlike
/// the platform's sample grabber it takes VIDEOINFOHEADER2, which alone carries field order and
/// picture aspect, and it follows type changes while streaming.
class FrameSink final : public SinglePinFilter, public IAMFilterMiscFlags {
  public:
    /// Called for each frame in the streaming thread; must not throw. False when no more are
    /// wanted.
    using OnFrame = std::function<bool(IMediaSample& sample)>;

    /// Whether the sink can work with a type.
    using Accept = std::function<bool(const MediaType& type)>;

    FrameSink(OnFrame onFrame, Accept accept);

    IPin* Input() { return &pin_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        return SinglePinFilter::QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return SinglePinFilter::AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return SinglePinFilter::Release(); }
    /// Says that this filter ends a stream, so that the graph waits for it.
    STDMETHODIMP_(ULONG) GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_RENDERER; }

  protected:
    SinglePin& Pin() override { return pin_; }
    void* Find(REFIID iid) override;
    void OnRun() override;
    [[nodiscard]] HRESULT OnStart() override;

  private:
    void ReportEndIfDue();

    SinglePin pin_{this, PINDIR_INPUT};
    Mutex endLock_;
    bool endReached_ = false;   // the stream has ended
    bool endReported_ = false;  // and the graph knows
};

}  // namespace nyx::host
