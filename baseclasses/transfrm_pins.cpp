#include "baseclasses/transfrm_pins.h"

#include <tuple>

#include "baseclasses/transfrm.h"
#include "platform/com.h"

CTransformInputPin::CTransformInputPin(LPCTSTR pObjectName, CTransformFilter* pTransformFilter,
                                       HRESULT* phr, LPCWSTR pName)
    : CBaseInputPin(pObjectName, pTransformFilter, &pTransformFilter->m_csFilter, phr, pName),
      m_pTransformFilter(pTransformFilter) {}

HRESULT STDMETHODCALLTYPE CTransformInputPin::QueryId(LPWSTR* Id) {
    return AMGetWideString(L"In", Id);
}

HRESULT CTransformInputPin::CheckConnect(IPin* pPin) {
    const HRESULT hr = m_pTransformFilter->CheckConnect(PINDIR_INPUT, pPin);
    return SUCCEEDED(hr) ? CBaseInputPin::CheckConnect(pPin) : hr;
}

HRESULT CTransformInputPin::BreakConnect() {
    m_pTransformFilter->m_pOutput->BreakWithInput();
    std::ignore = m_pTransformFilter->BreakConnect(PINDIR_INPUT);  // the connection ends anyway
    return CBaseInputPin::BreakConnect();
}

HRESULT CTransformInputPin::CompleteConnect(IPin* pReceivePin) {
    const HRESULT hr = m_pTransformFilter->CompleteConnect(PINDIR_INPUT, pReceivePin);
    return SUCCEEDED(hr) ? CBaseInputPin::CompleteConnect(pReceivePin) : hr;
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

HRESULT CTransformInputPin::SetMediaType(const CMediaType* pmt) {
    const HRESULT hr = CBaseInputPin::SetMediaType(pmt);
    return SUCCEEDED(hr) ? m_pTransformFilter->SetMediaType(PINDIR_INPUT, pmt) : hr;
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
    return hr == S_OK ? m_pTransformFilter->EndOfStream() : hr;
}

HRESULT STDMETHODCALLTYPE CTransformInputPin::BeginFlush() {
    CAutoLock lock(&m_pTransformFilter->m_csFilter);
    if (!m_pTransformFilter->BothConnected()) {
        return VFW_E_NOT_CONNECTED;
    }
    const HRESULT hr = CBaseInputPin::BeginFlush();
    return SUCCEEDED(hr) ? m_pTransformFilter->BeginFlush() : hr;
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
    return m_pTransformFilter->NewSegment(tStart, tStop, dRate);
}

CTransformOutputPin::CTransformOutputPin(LPCTSTR pObjectName, CTransformFilter* pTransformFilter,
                                         HRESULT* phr, LPCWSTR pName)
    : CBaseOutputPin(pObjectName, pTransformFilter, &pTransformFilter->m_csFilter, phr, pName),
      m_pTransformFilter(pTransformFilter) {}

CTransformOutputPin::~CTransformOutputPin() {
    ReleaseInterface(m_pPosition);
}

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

/// Creates the pass-through on first use. Takes no lock, since downstream may ask while it blocks a
/// Receive.
HRESULT CTransformOutputPin::MakePosition() {
    if (m_pPosition) {
        return S_OK;
    }
    nyx::ComPtr<IUnknown> position;
    const HRESULT hr =
        CreatePosPassThru(GetOwner(), FALSE, m_pTransformFilter->m_pInput, &position);
    auto* const stored = reinterpret_cast<void* volatile*>(&m_pPosition);
    if (SUCCEEDED(hr) && !InterlockedCompareExchangePointer(stored, position.Get(), nullptr)) {
        std::ignore = position.Detach();  // it is m_pPosition's now
    }
    return hr;
}

HRESULT STDMETHODCALLTYPE CTransformOutputPin::QueryId(LPWSTR* Id) {
    return AMGetWideString(L"Out", Id);
}

HRESULT CTransformOutputPin::CheckConnect(IPin* pPin) {
    if (!m_pTransformFilter->m_pInput->IsConnected()) {
        return E_UNEXPECTED;
    }
    const HRESULT hr = m_pTransformFilter->CheckConnect(PINDIR_OUTPUT, pPin);
    return SUCCEEDED(hr) ? CBaseOutputPin::CheckConnect(pPin) : hr;
}

HRESULT CTransformOutputPin::BreakConnect() {
    std::ignore = m_pTransformFilter->BreakConnect(PINDIR_OUTPUT);  // the connection ends anyway
    return CBaseOutputPin::BreakConnect();
}

/// Ends the connection on both sides when the input's connection ends.
void CTransformOutputPin::BreakWithInput() {
    nyx::ComPtr<IPin> peer;
    if (SUCCEEDED(ConnectedTo(&peer))) {
        peer->Disconnect();
        std::ignore = DisconnectInternal();  // the peer may have done so
    }
}

HRESULT CTransformOutputPin::CompleteConnect(IPin* pReceivePin) {
    const HRESULT hr = m_pTransformFilter->CompleteConnect(PINDIR_OUTPUT, pReceivePin);
    return SUCCEEDED(hr) ? CBaseOutputPin::CompleteConnect(pReceivePin) : hr;
}

HRESULT CTransformOutputPin::CheckMediaType(const CMediaType* pmtOut) {
    if (!m_pTransformFilter->m_pInput->IsConnected()) {
        return E_INVALIDARG;
    }
    CMediaType input;
    const HRESULT hr = m_pTransformFilter->m_pInput->CopyCurrentMediaType(&input);
    return SUCCEEDED(hr) ? m_pTransformFilter->CheckTransform(&input, pmtOut) : hr;
}

HRESULT CTransformOutputPin::SetMediaType(const CMediaType* pmt) {
    const HRESULT hr = CBaseOutputPin::SetMediaType(pmt);
    return SUCCEEDED(hr) ? m_pTransformFilter->SetMediaType(PINDIR_OUTPUT, pmt) : hr;
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

HRESULT WINAPI CreatePosPassThru(LPUNKNOWN pAgg, BOOL bRenderer, IPin* pPin,
                                 IUnknown** ppPassThru) {
    CheckPointer(ppPassThru, E_POINTER);
    *ppPassThru = nullptr;
    nyx::ComPtr<IUnknown> object;
    HRESULT hr = CoCreateInstance(CLSID_SeekingPassThru, pAgg, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                  reinterpret_cast<void**>(object.GetAddressOf()));
    if (FAILED(hr)) {
        return hr;
    }
    const auto passThru = nyx::As<ISeekingPassThru>(object);
    CheckPointer(passThru, E_NOINTERFACE);
    hr = passThru->Init(bRenderer, pPin);
    if (SUCCEEDED(hr)) {
        *ppPassThru = object.Detach();
    }
    return hr;
}
