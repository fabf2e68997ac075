#pragma once

#include "baseclasses/amfilter_input_pin.h"
#include "baseclasses/amfilter_output_pin.h"

class CTransformFilter;

/// The input pin of a transform filter: asks the filter at every step.
class CTransformInputPin : public CBaseInputPin {
  public:
    CTransformInputPin(LPCTSTR pObjectName, CTransformFilter* pTransformFilter, HRESULT* phr,
                       LPCWSTR pName);

    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* Id) override;

    HRESULT CheckConnect(IPin* pPin) override;
    /// An output cannot live without the input: its connection goes as well.
    HRESULT BreakConnect() override;
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    HRESULT CheckMediaType(const CMediaType* pmt) override;
    HRESULT SetMediaType(const CMediaType* pmt) override;
    HRESULT CheckStreaming() override;

    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* pSample) override;
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop,
                                         double dRate) override;

  protected:
    CTransformFilter* m_pTransformFilter;

    friend class CTransformFilter;
    friend class CTransformOutputPin;
    friend class CVideoTransformFilter;
};

/// The output pin of a transform filter. Usable only while the input is connected; seeking and
/// position go to whatever is upstream of the input.
class CTransformOutputPin : public CBaseOutputPin {
  public:
    CTransformOutputPin(LPCTSTR pObjectName, CTransformFilter* pTransformFilter, HRESULT* phr,
                        LPCWSTR pName);
    ~CTransformOutputPin() override;

    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* Id) override;

    HRESULT CheckConnect(IPin* pPin) override;
    HRESULT BreakConnect() override;
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    HRESULT CheckMediaType(const CMediaType* pmtOut) override;
    HRESULT SetMediaType(const CMediaType* pmt) override;
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* pProp) override;

    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* pSender, Quality q) override;

  protected:
    CTransformFilter* m_pTransformFilter;
    IUnknown* m_pPosition = nullptr;  ///< the platform's pass-through, aggregated, once asked for

    friend class CTransformFilter;
    friend class CTransformInputPin;
    friend class CVideoTransformFilter;

  private:
    HRESULT MakePosition();
    void BreakWithInput();
};

/// Makes the platform's object that hands seeking and position on to what is connected to `pPin`,
/// aggregated in `pAgg`.
HRESULT WINAPI CreatePosPassThru(LPUNKNOWN pAgg, BOOL bRenderer, IPin* pPin, IUnknown** ppPassThru);
