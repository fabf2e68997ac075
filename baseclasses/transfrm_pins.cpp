#include "baseclasses/transfrm_pins.h"

#include <tuple>

#include "baseclasses/transfrm.h"
#include "platform/com.h"

CTransformInputPin::CTransformInputPin(CTransformFilter* pTransformFilter, HRESULT* phr,
                                       LPCWSTR pName)
    : CBaseInputPin(pTransformFilter, &pTransformFilter->m_csFilter, phr, pName),
      m_pTransformFilter(pTransformFilter) {}

HRESULT CTransformInputPin::BreakConnect() {
    m_pTransformFilter->m_pOutput->BreakWithInput();
    return CBaseInputPin::BreakConnect();
}

HRESULT CTransformInputPin::CheckMediaType(const CMediaType* pmt) {
    HRESULT hr = m_pTransformFilter->CheckInputType(pmt);
    if (hr != S_OK || !m_pTransformFilter->m_pOutput->IsConnected()) {
        return hr;
    }
    CMediaType output;
    hr = m_pTransformFilter->m_pOutput->CopyCurrentMediaType(&output);
    return SUCCEEDED(hr) ? m_pTransformFilter->CheckTransform(pmt, &output) : hr;
}

HRESULT CTransformInputPin::CheckStreaming() {
    if (!m_pTransformFilter->m_pOutput->IsConnected()) {
        return VFW_E_NOT_CONNECTED;
    }
    if (m_bFlushing) {
        return S_FALSE;
    }
    if (IsStopped()) {
        return VFW_E_WRONG_STATE;
    }
    return m_bRunTimeError ? VFW_E_RUNTIME_ERROR : S_OK;
}

HRESULT STDMETHODCALLTYPE CTransformInputPin::Receive(IMediaSample* pSample) {
    CAutoLock lock(&m_pTransformFilter->m_csReceive);
    const HRESULT hr = CBaseInputPin::Receive(pSample);
    return hr == S_OK ? m_pTransformFilter->Receive(pSample) : hr;
}

HRESULT STDMETHODCALLTYPE CTransformInputPin::EndOfStream() {
    CAutoLock lock(&m_pTransformFilter->m_csReceive);
    const HRESULT hr = CheckStreaming();
    return hr == S_OK ? m_pTransformFilter->m_pOutput->DeliverEndOfStream() : hr;
}

HRESULT STDMETHODCALLTYPE CTransformInputPin::BeginFlush() {
    CAutoLock lock(&m_pTransformFilter->m_csFilter);
    if (!m_pTransformFilter->BothConnected()) {
        return VFW_E_NOT_CONNECTED;
    }
    const HRESULT hr = CBaseInputPin::BeginFlush();
    return SUCCEEDED(hr) ? m_pTransformFilter->m_pOutput->DeliverBeginFlush() : hr;
}

HRESULT STDMETHODCALLTYPE CTransformInputPin::EndFlush() {
    CAutoLock lock(&m_pTransformFilter->m_csFilter);
    if (!m_pTransformFilter->BothConnected()) {
        return VFW_E_NOT_CONNECTED;
    }
    // A failure downstream must not leave this side flushing for good.
    const HRESULT hr = m_pTransformFilter->EndFlush();
    const HRESULT own = CBaseInputPin::EndFlush();
    return FAILED(hr) ? hr : own;
}

HRESULT STDMETHODCALLTYPE CTransformInputPin::NewSegment(REFERENCE_TIME tStart,
                                                         REFERENCE_TIME tStop, double dRate) {
    return m_pTransformFilter->m_pOutput->DeliverNewSegment(tStart, tStop, dRate);
}

CTransformOutputPin::CTransformOutputPin(CTransformFilter* pTransformFilter, HRESULT* phr,
                                         LPCWSTR pName)
    : CBaseOutputPin(pTransformFilter, &pTransformFilter->m_csFilter, phr, pName),
      m_pTransformFilter(pTransformFilter) {}

HRESULT STDMETHODCALLTYPE CTransformOutputPin::NonDelegatingQueryInterface(REFIID riid,
                                                                           void** ppv) {
    CheckPointer(ppv, E_POINTER);
    if (riid != IID_IMediaSeeking && riid != IID_IMediaPosition) {
        return CBaseOutputPin::NonDelegatingQueryInterface(riid, ppv);
    }
    *ppv = nullptr;
    const HRESULT hr = MakePosition();
    return SUCCEEDED(hr) ? m_pPosition->QueryInterface(riid, ppv) : hr;
}

/// Creates the platform's object that passes seeking and position on to the peer of the input, on
/// first use. Takes no lock, since downstream may ask while it blocks a Receive.
HRESULT CTransformOutputPin::MakePosition() {
    if (m_pPosition) {
        return S_OK;
    }
    nyx::ComPtr<IUnknown> position;
    HRESULT hr = CoCreateInstance(CLSID_SeekingPassThru, GetOwner(), CLSCTX_INPROC_SERVER,
                                  IID_IUnknown, reinterpret_cast<void**>(position.GetAddressOf()));
    if (FAILED(hr)) {
        return hr;
    }
    const auto passThru = nyx::As<ISeekingPassThru>(position);
    CheckPointer(passThru, E_NOINTERFACE);
    hr = passThru->Init(FALSE, m_pTransformFilter->m_pInput);
    auto* const stored = reinterpret_cast<void* volatile*>(&m_pPosition);
    if (SUCCEEDED(hr) && !InterlockedCompareExchangePointer(stored, position.Get(), nullptr)) {
        std::ignore = position.Detach();  // it is m_pPosition's now
    }
    return hr;
}

HRESULT CTransformOutputPin::CheckConnect(IPin* pPin) {
    if (!m_pTransformFilter->m_pInput->IsConnected()) {
        return E_UNEXPECTED;
    }
    return CBaseOutputPin::CheckConnect(pPin);
}

/// Ends the connection on both sides when the input's connection ends.
void CTransformOutputPin::BreakWithInput() {
    nyx::ComPtr<IPin> peer;
    if (SUCCEEDED(ConnectedTo(&peer))) {
        peer->Disconnect();
        std::ignore = DisconnectInternal();  // the peer may have done so
    }
}

HRESULT CTransformOutputPin::CheckMediaType(const CMediaType* pmtOut) {
    if (!m_pTransformFilter->m_pInput->IsConnected()) {
        return E_INVALIDARG;
    }
    CMediaType input;
    const HRESULT hr = m_pTransformFilter->m_pInput->CopyCurrentMediaType(&input);
    return SUCCEEDED(hr) ? m_pTransformFilter->CheckTransform(&input, pmtOut) : hr;
}

HRESULT CTransformOutputPin::GetMediaType(int iPosition, CMediaType* pMediaType) {
    return m_pTransformFilter->m_pInput->IsConnected()
               ? m_pTransformFilter->GetMediaType(iPosition, pMediaType)
               : VFW_S_NO_MORE_ITEMS;
}

HRESULT CTransformOutputPin::DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* pProp) {
    return m_pTransformFilter->DecideBufferSize(pAlloc, pProp);
}

HRESULT STDMETHODCALLTYPE CTransformOutputPin::Notify(IBaseFilter*, Quality q) {
    return m_pTransformFilter->AlterQuality(q);
}
