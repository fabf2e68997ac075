#include "baseclasses/transfrm.h"

#include <cstddef>
#include <new>
#include <tuple>

#include "platform/com.h"

CTransformFilter::CTransformFilter(LPCTSTR pObjectName, LPUNKNOWN lpUnk, REFCLSID clsid)
    : CBaseFilter(pObjectName, lpUnk, &m_csFilter, clsid) {}

CTransformFilter::~CTransformFilter() {
    delete m_pOutput;
    delete m_pInput;
}

CBasePin* CTransformFilter::GetPin(int n) {
    CAutoLock lock(&m_PinsLock);
    if (!m_pInput) {
        MakePins();
    }
    switch (n) {
        case 0:
            return m_pInput;
        case 1:
            return m_pOutput;
        default:
            return nullptr;
    }
}

/// Makes both pins, or neither when there is no memory.
void CTransformFilter::MakePins() {
    HRESULT hr = S_OK;
    m_pInput = new (std::nothrow) CTransformInputPin(this, &hr, L"XForm In");
    m_pOutput = new (std::nothrow) CTransformOutputPin(this, &hr, L"XForm Out");
    if (!m_pInput || !m_pOutput || FAILED(hr)) {
        delete m_pOutput;
        delete m_pInput;
        m_pOutput = nullptr;
        m_pInput = nullptr;
    }
}

HRESULT STDMETHODCALLTYPE CTransformFilter::FindPin(LPCWSTR Id, IPin** ppPin) {
    CheckPointer(ppPin, E_POINTER);
    *ppPin = nullptr;
    CheckPointer(Id, E_POINTER);
    const bool isInput = wcscmp(Id, L"In") == 0;
    if (!isInput && wcscmp(Id, L"Out") != 0) {
        return VFW_E_NOT_FOUND;
    }
    *ppPin = GetPin(isInput ? 0 : 1);
    CheckPointer(*ppPin, E_OUTOFMEMORY);
    (*ppPin)->AddRef();
    return S_OK;
}

bool CTransformFilter::BothConnected() const {
    return m_pInput && m_pInput->IsConnected() && m_pOutput->IsConnected();
}

HRESULT STDMETHODCALLTYPE CTransformFilter::Stop() {
    CAutoLock lock(&m_csFilter);
    HRESULT hr = S_OK;
    if (m_State != State_Stopped && BothConnected()) {
        // A running Receive holds the receive lock and may wait for an output buffer.
        std::ignore = m_pInput->Inactive();  // a filter without an allocator stops as well
        if (m_pOutput->m_pAllocator) {
            m_pOutput->m_pAllocator->Decommit();
        }
        CAutoLock receiveLock(&m_csReceive);
        std::ignore = m_pOutput->Inactive();
        hr = StopStreaming();
        m_State = State_Stopped;
    }
    m_State = State_Stopped;
    return hr;
}

HRESULT STDMETHODCALLTYPE CTransformFilter::Pause() {
    CAutoLock lock(&m_csFilter);
    HRESULT hr = S_OK;
    if (BothConnected()) {
        hr = PauseConnected();
    } else {
        m_State = State_Paused;  // no output is connected without an input, so no peer waits
    }
    m_bSampleSkipped = FALSE;
    return hr;
}

HRESULT CTransformFilter::PauseConnected() {
    const bool wasStopped = m_State == State_Stopped;
    if (wasStopped) {
        CAutoLock receiveLock(&m_csReceive);
        const HRESULT hr = StartStreaming();
        if (FAILED(hr)) {
            return hr;
        }
    }
    const HRESULT hr = CBaseFilter::Pause();
    if (FAILED(hr) && wasStopped) {
        CAutoLock receiveLock(&m_csReceive);
        std::ignore = StopStreaming();  // the first failure is reported
    }
    return hr;
}

namespace {

/// The bytes of AM_SAMPLE2_PROPERTIES that are copied: up to the times, without stream, type and
/// buffer.
constexpr DWORD kCopiedProperties = offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId);

/// Sets the flags and times of `props` on `sample` in one call. A type that is attached to it
/// stays. A failure leaves the sample as it is; it is delivered all the same.
void CopyProperties(const AM_SAMPLE2_PROPERTIES& props, IMediaSample2* sample) {
    AM_SAMPLE2_PROPERTIES out{};
    if (FAILED(sample->GetProperties(kCopiedProperties, reinterpret_cast<BYTE*>(&out)))) {
        return;
    }
    constexpr DWORD kOfOutput = AM_SAMPLE_TYPECHANGED;
    out.cbData = kCopiedProperties;
    out.dwTypeSpecificFlags = props.dwTypeSpecificFlags;
    out.dwSampleFlags = (out.dwSampleFlags & kOfOutput) | (props.dwSampleFlags & ~kOfOutput);
    out.tStart = props.tStart;
    out.tStop = props.tStop;
    sample->SetProperties(kCopiedProperties, reinterpret_cast<const BYTE*>(&out));
}

/// Sets the properties of `props` and `source` one by one on a sample without IMediaSample2.
void CopyFields(AM_SAMPLE2_PROPERTIES& props, IMediaSample* source, IMediaSample* sample) {
    if (props.dwSampleFlags & AM_SAMPLE_TIMEVALID) {
        const bool stops = props.dwSampleFlags & AM_SAMPLE_STOPVALID;
        sample->SetTime(&props.tStart, stops ? &props.tStop : nullptr);
    }
    if (props.dwSampleFlags & AM_SAMPLE_SPLICEPOINT) {
        sample->SetSyncPoint(TRUE);
    }
    if (props.dwSampleFlags & AM_SAMPLE_DATADISCONTINUITY) {
        sample->SetDiscontinuity(TRUE);
    }
    LONGLONG start = 0;
    LONGLONG stop = 0;
    if (source->GetMediaTime(&start, &stop) == S_OK) {
        sample->SetMediaTime(&start, &stop);
    }
}

}  // namespace

HRESULT CTransformFilter::InitializeOutputSample(IMediaSample* pSample,
                                                 IMediaSample** ppOutSample) {
    CheckPointer(m_pOutput->m_pAllocator, VFW_E_NO_ALLOCATOR);
    AM_SAMPLE2_PROPERTIES& props = *m_pInput->SampleProps();
    DWORD flags = m_bSampleSkipped ? AM_GBF_PREVFRAMESKIPPED : 0;
    if (!(props.dwSampleFlags & AM_SAMPLE_SPLICEPOINT)) {
        flags |= AM_GBF_NOTASYNCPOINT;
    }
    nyx::ComPtr<IMediaSample> sample;
    const HRESULT hr = m_pOutput->m_pAllocator->GetBuffer(
        &sample, props.dwSampleFlags & AM_SAMPLE_TIMEVALID ? &props.tStart : nullptr,
        props.dwSampleFlags & AM_SAMPLE_STOPVALID ? &props.tStop : nullptr, flags);
    if (FAILED(hr)) {
        return hr;
    }
    CheckPointer(sample, E_UNEXPECTED);
    if (const auto sample2 = nyx::As<IMediaSample2>(sample)) {
        CopyProperties(props, sample2.Get());
    } else {
        CopyFields(props, pSample, sample.Get());
    }
    if (props.dwSampleFlags & AM_SAMPLE_DATADISCONTINUITY) {
        m_bSampleSkipped = FALSE;
    }
    *ppOutSample = sample.Detach();
    return S_OK;
}
