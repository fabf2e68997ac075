#include "baseclasses/amfilter_input_pin.h"

#include "baseclasses/amfilter.h"
#include "baseclasses/amfilter_output_pin.h"

CBaseInputPin::CBaseInputPin(LPCTSTR pObjectName, CBaseFilter* pFilter, CCritSec* pLock,
                             HRESULT* phr, LPCWSTR pName)
    : CBasePin(pObjectName, pFilter, pLock, phr, pName, PINDIR_INPUT) {}

CBaseInputPin::~CBaseInputPin() {
    ReleaseInterface(m_pAllocator);
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMemInputPin) {
        return GetInterface(static_cast<IMemInputPin*>(this), ppv);
    }
    return CBasePin::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseInputPin::BreakConnect() {
    if (m_pAllocator) {
        m_pAllocator->Decommit();
    }
    ReleaseInterface(m_pAllocator);
    return S_OK;
}

HRESULT CBaseInputPin::Inactive() {
    m_bRunTimeError = false;
    m_bFlushing = FALSE;
    CheckPointer(m_pAllocator, VFW_E_NO_ALLOCATOR);
    return m_pAllocator->Decommit();
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::GetAllocator(IMemAllocator** ppAllocator) {
    CheckPointer(ppAllocator, E_POINTER);
    *ppAllocator = nullptr;
    CAutoLock lock(m_pLock);
    if (!m_pAllocator) {
        const HRESULT hr = CreateMemoryAllocator(&m_pAllocator);
        if (FAILED(hr)) {
            return hr;
        }
    }
    *ppAllocator = m_pAllocator;
    m_pAllocator->AddRef();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::NotifyAllocator(IMemAllocator* pAllocator, BOOL) {
    CheckPointer(pAllocator, E_POINTER);
    CAutoLock lock(m_pLock);
    ReplaceInterface(m_pAllocator, pAllocator);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::Receive(IMediaSample* pSample) {
    CheckPointer(pSample, E_POINTER);
    HRESULT hr = CheckStreaming();
    if (hr != S_OK) {
        return hr;
    }
    hr = ReadSampleProps(pSample);
    if (FAILED(hr)) {
        // Memory is only short for the sample's type, and no other sample carries that.
        return hr == E_OUTOFMEMORY ? RefuseSampleType() : hr;
    }
    const CMediaType* const type = SampleType();
    return !type || CheckMediaType(type) == S_OK ? S_OK : RefuseSampleType();
}

HRESULT CBaseInputPin::ReadSampleProps(IMediaSample* pSample) {
    m_SampleProps = {};
    void* newer = nullptr;
    if (FAILED(pSample->QueryInterface(IID_IMediaSample2, &newer))) {
        return ReadSampleFields(pSample);
    }
    auto* const sample2 = static_cast<IMediaSample2*>(newer);
    const HRESULT hr =
        sample2->GetProperties(sizeof(m_SampleProps), reinterpret_cast<BYTE*>(&m_SampleProps));
    sample2->Release();
    const AM_MEDIA_TYPE* const type = m_SampleProps.pMediaType;
    const bool changed = (m_SampleProps.dwSampleFlags & AM_SAMPLE_TYPECHANGED) && type;
    m_SampleProps.pMediaType = nullptr;
    if (FAILED(hr) || !changed) {
        return hr;
    }
    m_SampleProps.pMediaType = &m_SampleType;
    return m_SampleType.Set(*type);
}

/// Gathers the properties of a sample one by one.
HRESULT CBaseInputPin::ReadSampleFields(IMediaSample* pSample) {
    AM_SAMPLE2_PROPERTIES& props = m_SampleProps;
    props.cbData = sizeof(props);
    props.dwStreamId = AM_STREAM_MEDIA;
    if (pSample->IsDiscontinuity() == S_OK) {
        props.dwSampleFlags |= AM_SAMPLE_DATADISCONTINUITY;
    }
    if (pSample->IsPreroll() == S_OK) {
        props.dwSampleFlags |= AM_SAMPLE_PREROLL;
    }
    if (pSample->IsSyncPoint() == S_OK) {
        props.dwSampleFlags |= AM_SAMPLE_SPLICEPOINT;
    }
    const HRESULT timed = pSample->GetTime(&props.tStart, &props.tStop);
    if (SUCCEEDED(timed)) {
        props.dwSampleFlags |= AM_SAMPLE_TIMEVALID;
        if (timed != VFW_S_NO_STOP_TIME) {
            props.dwSampleFlags |= AM_SAMPLE_STOPVALID;
        }
    }
    const HRESULT typed = m_SampleType.SetFrom(*pSample);
    if (FAILED(typed)) {
        return typed;
    }
    if (typed == S_OK) {
        props.dwSampleFlags |= AM_SAMPLE_TYPECHANGED;
        props.pMediaType = &m_SampleType;
    }
    pSample->GetPointer(&props.pbBuffer);
    props.lActual = pSample->GetActualDataLength();
    props.cbBuffer = pSample->GetSize();
    return S_OK;
}

/// Ends the stream, because it went on in a type that cannot be handled, be it for want of memory.
HRESULT CBaseInputPin::RefuseSampleType() {
    m_bRunTimeError = true;
    EndOfStream();
    m_pFilter->NotifyEvent(EC_ERRORABORT, VFW_E_TYPE_NOT_ACCEPTED, 0);
    return VFW_E_INVALIDMEDIATYPE;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::ReceiveMultiple(IMediaSample** pSamples, LONG nSamples,
                                                         LONG* nSamplesProcessed) {
    CheckPointer(pSamples, E_POINTER);
    CheckPointer(nSamplesProcessed, E_POINTER);
    HRESULT hr = S_OK;
    for (*nSamplesProcessed = 0; *nSamplesProcessed < nSamples; ++*nSamplesProcessed) {
        hr = Receive(pSamples[*nSamplesProcessed]);
        if (hr != S_OK) {
            break;
        }
    }
    return hr;
}

namespace {

/// Whether the input `peer` may block; one of a transport unknown to us may.
bool CanBlock(IPin* peer) {
    void* input = nullptr;
    if (FAILED(peer->QueryInterface(IID_IMemInputPin, &input))) {
        return true;
    }
    auto* const transport = static_cast<IMemInputPin*>(input);
    const HRESULT hr = transport->ReceiveCanBlock();
    transport->Release();
    return hr != S_FALSE;
}

}  // namespace

HRESULT STDMETHODCALLTYPE CBaseInputPin::ReceiveCanBlock() {
    HRESULT result = S_OK;
    const int count = m_pFilter->GetPinCount();
    for (int i = 0; i < count; ++i) {
        CBasePin* const pin = m_pFilter->GetPin(i);
        PIN_DIRECTION direction = PINDIR_INPUT;
        IPin* peer = nullptr;
        if (!pin || FAILED(pin->QueryDirection(&direction)) || direction != PINDIR_OUTPUT ||
            FAILED(pin->ConnectedTo(&peer))) {
            continue;
        }
        const bool blocks = CanBlock(peer);
        peer->Release();
        if (blocks) {
            return S_OK;
        }
        result = S_FALSE;
    }
    return result;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::BeginFlush() {
    CAutoLock lock(m_pLock);
    m_bFlushing = TRUE;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::EndFlush() {
    CAutoLock lock(m_pLock);
    m_bFlushing = FALSE;
    m_bRunTimeError = false;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::Notify(IBaseFilter*, Quality) {
    return S_OK;
}
