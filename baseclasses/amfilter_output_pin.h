#pragma once

#include "baseclasses/amfilter_pin.h"

/// A pin that delivers samples by `IMemInputPin`, from an allocator that it agrees on while
/// connecting. The Deliver functions are called by the filter, without the filter lock while
/// streaming.
class CBaseOutputPin : public CBasePin {
  public:
    CBaseOutputPin(CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr, LPCWSTR pName)
        : CBasePin(pFilter, pLock, phr, pName, PINDIR_OUTPUT) {}
    ~CBaseOutputPin() override { ReleaseInterface(m_pInputPin); }

    /// Sets the size and number of buffers of `pAlloc`, starting from the peer's requirements.
    [[nodiscard]] virtual HRESULT DecideBufferSize(IMemAllocator* pAlloc,
                                                   ALLOCATOR_PROPERTIES* ppropInputRequest) = 0;
    /// Chooses the peer's allocator if it suits, else the platform's, and notifies the peer. The
    /// caller releases `*ppAlloc`, null on failure.
    [[nodiscard]] virtual HRESULT DecideAllocator(IMemInputPin* pPin, IMemAllocator** ppAlloc);

    [[nodiscard]] HRESULT CheckConnect(IPin* pPin) override;
    [[nodiscard]] HRESULT CompleteConnect(IPin* pReceivePin) override;
    [[nodiscard]] HRESULT BreakConnect() override;
    [[nodiscard]] HRESULT Active() override;

    [[nodiscard]] HRESULT Deliver(IMediaSample* pSample);
    HRESULT DeliverEndOfStream();
    HRESULT DeliverBeginFlush();
    HRESULT DeliverEndFlush();
    HRESULT DeliverNewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate);

    /// `E_UNEXPECTED`: these calls come from upstream, where an output pin has no peer.
    HRESULT STDMETHODCALLTYPE EndOfStream() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return E_UNEXPECTED; }

  protected:
    IMemInputPin* m_pInputPin = nullptr;  ///< the peer's

  private:
    [[nodiscard]] HRESULT UseAllocator(IMemInputPin* pPin, IMemAllocator* pAlloc,
                                       ALLOCATOR_PROPERTIES* request);
};

/// Creates an instance of the platform's memory allocator.
[[nodiscard]] HRESULT WINAPI CreateMemoryAllocator(IMemAllocator** ppAllocator);
