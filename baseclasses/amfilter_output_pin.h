#pragma once

#include "baseclasses/amfilter_pin.h"

/// A pin that delivers samples by `IMemInputPin`, from an allocator that it agrees on while
/// connecting. The Deliver functions are called by the filter, without the filter lock while
/// streaming.
class CBaseOutputPin : public CBasePin {
  public:
    CBaseOutputPin(LPCTSTR pObjectName, CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr,
                   LPCWSTR pName);
    ~CBaseOutputPin() override;

    /// Sets the size and number of buffers of `pAlloc`, beginning with what the peer requires.
    virtual HRESULT DecideBufferSize(IMemAllocator* pAlloc,
                                     ALLOCATOR_PROPERTIES* ppropInputRequest) = 0;
    /// The peer's allocator when it suits, else the platform's; told to the peer. The caller
    /// releases `*ppAlloc`, null on failure.
    virtual HRESULT DecideAllocator(IMemInputPin* pPin, IMemAllocator** ppAlloc);

    HRESULT CheckConnect(IPin* pPin) override;
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    HRESULT BreakConnect() override;
    HRESULT Active() override;
    HRESULT Inactive() override;

    virtual HRESULT Deliver(IMediaSample* pSample);
    virtual HRESULT DeliverEndOfStream();
    virtual HRESULT DeliverBeginFlush();
    virtual HRESULT DeliverEndFlush();
    virtual HRESULT DeliverNewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate);

    /// These come from upstream; nobody is upstream of an output pin: `E_UNEXPECTED`.
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;

  protected:
    IMemAllocator* m_pAllocator = nullptr;
    IMemInputPin* m_pInputPin = nullptr;  ///< the peer's

  private:
    HRESULT UseAllocator(IMemInputPin* pPin, IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* request);
};

/// Makes an instance of the platform's own memory allocator.
HRESULT WINAPI CreateMemoryAllocator(IMemAllocator** ppAllocator);
