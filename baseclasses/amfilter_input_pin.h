#pragma once

#include "baseclasses/amfilter_pin.h"

/// A pin that receives samples. Receive, EndOfStream and NewSegment come on the streaming thread,
/// the flush calls on any other.
class CBaseInputPin : public CBasePin, public IMemInputPin {
  public:
    CBaseInputPin(CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr, LPCWSTR pName)
        : CBasePin(pFilter, pLock, phr, pName, PINDIR_INPUT) {}

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    [[nodiscard]] HRESULT Inactive() override;
    /// `S_OK` when samples may come, `S_FALSE` while flushing, else the reason for refusing them.
    [[nodiscard]] virtual HRESULT CheckStreaming() = 0;

    /// The properties of the last received sample; the pointers live as long as the sample.
    AM_SAMPLE2_PROPERTIES* SampleProps() { return &m_SampleProps; }
    /// The pin's copy of the type that the last received sample carries; null without one.
    CMediaType* SampleType() { return m_SampleProps.pMediaType ? &m_SampleType : nullptr; }

    // IMemInputPin
    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** ppAllocator) override;
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* pAllocator, BOOL bReadOnly) override;
    HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) override {
        return E_NOTIMPL;
    }
    /// Checks a sample and the type that it may carry; `S_OK` when the derived pin is to process
    /// it. A type that is refused, or for which there is no memory, ends the stream with
    /// `EC_ERRORABORT`.
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* pSample) override;
    HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample** pSamples, LONG nSamples,
                                              LONG* nSamplesProcessed) override;
    /// `S_FALSE` only when no connected input downstream can block.
    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override;

    // IPin
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;

    // IQualityControl: meant for output pins.
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality) override { return S_OK; }

  protected:
    bool m_bRunTimeError = false;
    BYTE m_bFlushing = FALSE;
    AM_SAMPLE2_PROPERTIES m_SampleProps{};

  private:
    [[nodiscard]] HRESULT ReadSampleProps(IMediaSample* pSample);
    [[nodiscard]] HRESULT ReadSampleFields(IMediaSample* pSample);
    [[nodiscard]] HRESULT RefuseSampleType();

    CMediaType m_SampleType;
};
