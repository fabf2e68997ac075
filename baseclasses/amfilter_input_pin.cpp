#include "baseclasses/amfilter_input_pin.h"

#include "baseclasses/amfilter.h"
#include "baseclasses/amfilter_output_pin.h"
#include "platform/com.h"

HRESULT STDMETHODCALLTYPE CBaseInputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMemInputPin) {
        return GetInterface(static_cast<IMemInputPin*>(this), ppv);
    }
    return CBasePin::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseInputPin::Inactive() {
    m_bRunTimeError = false;
    m_bFlushing = FALSE;
    return CBasePin::Inactive();
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
    return CopyInterface(m_pAllocator, ppAllocator);
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::NotifyAllocator(IMemAllocator* pAllocator, BOOL) {
    CheckPointer(pAllocator, E_POINTER);
    CAutoLock lock(m_pLock);
    ReplaceInterface(m_pAllocator, pAllocator);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseInputPin::Receive(IMediaSample* pSample) {
    CheckPointer(pSample, E_POINTER);
    HRESULT hr = CheckStreaming();
    if (hr != S_OK) {
        return hr;
    }
    hr = ReadSampleProps(pSample);
    if (FAILED(hr)) {
        // Only the copy of the sample's type needs memory, and no other sample carries that type.
        return hr == E_OUTOFMEMORY ? RefuseSampleType() : hr;
    }
    const CMediaType* const type = SampleType();
    return !type || CheckMediaType(type) == S_OK ? S_OK : RefuseSampleType();
}

HRESULT CBaseInputPin::ReadSampleProps(IMediaSample* pSample) {
    m_SampleProps = {};
    const auto sample2 = nyx::As<IMediaSample2>(pSample);
    if (!sample2) {
        return ReadSampleFields(pSample);
    }
    const HRESULT hr =
        sample2->GetProperties(sizeof(m_SampleProps), reinterpret_cast<BYTE*>(&m_SampleProps));
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

/// Ends a stream that changes to a type that the filter cannot handle or has no memory for.
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

/// Whether the input `peer` may block. One without this transport may.
bool CanBlock(IPin* peer) {
    const auto transport = nyx::As<IMemInputPin>(peer);
    return !transport || transport->ReceiveCanBlock() != S_FALSE;
}

}  // namespace

HRESULT STDMETHODCALLTYPE CBaseInputPin::ReceiveCanBlock() {
    HRESULT result = S_OK;
    const int count = m_pFilter->GetPinCount();
    for (int i = 0; i < count; ++i) {
        CBasePin* const pin = m_pFilter->GetPin(i);
        PIN_DIRECTION direction = PINDIR_INPUT;
        nyx::ComPtr<IPin> peer;
        if (!pin || FAILED(pin->QueryDirection(&direction)) || direction != PINDIR_OUTPUT ||
            FAILED(pin->ConnectedTo(&peer))) {
            continue;
        }
        if (CanBlock(peer.Get())) {
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
