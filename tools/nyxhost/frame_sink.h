#pragma once

#include <functional>

#include "single_pin_filter.h"

namespace nyx::host {

/// What a graph that ends in pictures accepts: every uncompressed format that the tool knows.
bool AcceptsPictures(const AM_MEDIA_TYPE& type);

/// The end of a graph that looks at each frame with the type that it came with. Unlike
/// the platform's sample grabber it takes VIDEOINFOHEADER2, which alone carries field order and
/// picture aspect, and it follows type changes while streaming.
class FrameSink final : public SinglePinFilter {
  public:
    /// Called for each frame in the streaming thread; must not throw.
    using OnFrame = std::function<void(IMediaSample& sample)>;

    /// Whether the sink can work with a type.
    using Accept = bool (*)(const AM_MEDIA_TYPE& type);

    FrameSink(OnFrame onFrame, Accept accept)
        : onFrame_(std::move(onFrame)), accept_(accept), pin_(*this) {}

    IPin* Input() { return &pin_; }

  protected:
    SinglePin& Pin() override { return pin_; }
    IUnknown* OtherInterface(REFIID iid) override;
    void OnRun() override;
    HRESULT OnStart() override;

  private:
    class InputPin final : public SinglePin, public IMemInputPin, public IPinConnection {
      public:
        explicit InputPin(FrameSink& sink) : SinglePin(sink, PINDIR_INPUT, L"Input"), sink_(sink) {}

        STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
            return SinglePin::QueryInterface(iid, object);
        }
        STDMETHODIMP_(ULONG) AddRef() override { return SinglePin::AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return SinglePin::Release(); }

        STDMETHODIMP ReceiveConnection(IPin* sender, const AM_MEDIA_TYPE* type) override;
        STDMETHODIMP EndOfStream() override;
        STDMETHODIMP BeginFlush() override { return S_OK; }
        STDMETHODIMP EndFlush() override { return S_OK; }

        STDMETHODIMP GetAllocator(IMemAllocator** allocator) override;
        STDMETHODIMP NotifyAllocator(IMemAllocator* allocator, WINBOOL readOnly) override;
        STDMETHODIMP GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) override;
        STDMETHODIMP Receive(IMediaSample* sample) override;
        STDMETHODIMP ReceiveMultiple(IMediaSample** samples, long count, long* processed) override;
        STDMETHODIMP ReceiveCanBlock() override { return S_FALSE; }

        STDMETHODIMP DynamicQueryAccept(const AM_MEDIA_TYPE* type) override;
        STDMETHODIMP NotifyEndOfStream(HANDLE event) override;
        STDMETHODIMP IsEndPin() override { return S_OK; }
        STDMETHODIMP DynamicDisconnect() override { return E_NOTIMPL; }

      protected:
        IUnknown* OtherInterface(REFIID iid) override;
        bool Accepts(const AM_MEDIA_TYPE& type) const override { return sink_.accept_(type); }

      private:
        FrameSink& sink_;
    };

    /// Says that this filter ends a stream, so that the graph waits for it.
    class RendererFlag final : public IAMFilterMiscFlags {
      public:
        explicit RendererFlag(FrameSink& sink) : sink_(sink) {}
        STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
            return sink_.QueryInterface(iid, object);
        }
        STDMETHODIMP_(ULONG) AddRef() override { return sink_.AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return sink_.Release(); }
        STDMETHODIMP_(ULONG) GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_RENDERER; }

      private:
        FrameSink& sink_;
    };

    void ReportEndIfDue();

    OnFrame onFrame_;
    Accept accept_;
    InputPin pin_;
    RendererFlag flag_{*this};
    std::mutex endLock_;
    bool endReached_ = false;   // the stream has ended
    bool endReported_ = false;  // and the graph knows
};

}  // namespace nyx::host
