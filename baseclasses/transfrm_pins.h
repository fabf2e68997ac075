#pragma once

#include "baseclasses/amfilter_input_pin.h"
#include "baseclasses/amfilter_output_pin.h"

class CTransformFilter;

/// The input pin of a transform filter, which passes each step to the filter.
class CTransformInputPin : public CBaseInputPin {
  public:
    CTransformInputPin(CTransformFilter* pTransformFilter, HRESULT* phr, LPCWSTR pName);

    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* Id) override { return AMGetWideString(L"In", Id); }

    /// Ends the output's connection as well, which needs the input's.
    [[nodiscard]] HRESULT BreakConnect() override;
    [[nodiscard]] HRESULT CheckMediaType(const CMediaType* pmt) override;
    [[nodiscard]] HRESULT CheckStreaming() override;

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

/// The output pin of a transform filter. Usable only while the input is connected; passes seeking
/// and position upstream of the input.
class CTransformOutputPin : public CBaseOutputPin {
  public:
    CTransformOutputPin(CTransformFilter* pTransformFilter, HRESULT* phr, LPCWSTR pName);
    ~CTransformOutputPin() override { ReleaseInterface(m_pPosition); }

    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* Id) override { return AMGetWideString(L"Out", Id); }

    [[nodiscard]] HRESULT CheckConnect(IPin* pPin) override;
    [[nodiscard]] HRESULT CheckMediaType(const CMediaType* pmtOut) override;
    [[nodiscard]] HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    [[nodiscard]] HRESULT DecideBufferSize(IMemAllocator* pAlloc,
                                           ALLOCATOR_PROPERTIES* pProp) override;

    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* pSender, Quality q) override;

  protected:
    CTransformFilter* m_pTransformFilter;
    IUnknown* m_pPosition = nullptr;  ///< the platform's pass-through, aggregated; created on use

    friend class CTransformFilter;
    friend class CTransformInputPin;
    friend class CVideoTransformFilter;

  private:
    [[nodiscard]] HRESULT MakePosition();
    void BreakWithInput();
};
