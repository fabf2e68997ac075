#include "baseclasses/amfilter_pin.h"

#include <initializer_list>
#include <new>
#include <tuple>
#include <utility>

#include "baseclasses/amfilter.h"
#include "baseclasses/amfilter_enum.h"

namespace {

/// A refusal that gives no reason but the type.
bool IsPlainRefusal(HRESULT hr) {
    return SUCCEEDED(hr) || hr == E_FAIL || hr == E_INVALIDARG;
}

/// A failure that gives another reason.
bool IsSpecificFailure(HRESULT hr) {
    return !IsPlainRefusal(hr) && hr != VFW_E_TYPE_NOT_ACCEPTED;
}

}  // namespace

CBasePin::CBasePin(CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr, LPCWSTR pName,
                   PIN_DIRECTION dir)
    : CUnknown(pName, nullptr), m_dir(dir), m_pLock(pLock), m_pFilter(pFilter) {
    if (FAILED(AMGetWideString(pName, &m_pName)) && phr) {
        *phr = E_OUTOFMEMORY;
    }
}

CBasePin::~CBasePin() {
    ReleaseInterface(m_pAllocator);
    SetConnected(nullptr);
    CoTaskMemFree(m_pName);
}

HRESULT STDMETHODCALLTYPE CBasePin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IPin) {
        return GetInterface(static_cast<IPin*>(this), ppv);
    }
    if (riid == IID_IQualityControl) {
        return GetInterface(static_cast<IQualityControl*>(this), ppv);
    }
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

ULONG STDMETHODCALLTYPE CBasePin::NonDelegatingAddRef() {
    return m_pFilter->AddRef();
}

ULONG STDMETHODCALLTYPE CBasePin::NonDelegatingRelease() {
    return m_pFilter->Release();
}

BOOL CBasePin::IsStopped() const {
    return m_pFilter->IsStopped();
}

HRESULT CBasePin::CheckConnect(IPin* pPin) {
    PIN_DIRECTION direction = m_dir;
    const HRESULT hr = pPin->QueryDirection(&direction);
    return SUCCEEDED(hr) && direction == m_dir ? VFW_E_INVALID_DIRECTION : hr;
}

HRESULT CBasePin::BreakConnect() {
    if (m_pAllocator) {
        m_pAllocator->Decommit();
    }
    ReleaseInterface(m_pAllocator);
    return S_OK;
}

HRESULT CBasePin::Inactive() {
    CheckPointer(m_pAllocator, VFW_E_NO_ALLOCATOR);
    return m_pAllocator->Decommit();
}

/// Whether a connection may be made now.
HRESULT CBasePin::MayConnect() const {
    if (m_Connected) {
        return VFW_E_ALREADY_CONNECTED;
    }
    return IsStopped() ? S_OK : VFW_E_NOT_STOPPED;
}

/// Makes `pPin` the peer, null for none, and keeps a reference to it.
void CBasePin::SetConnected(IPin* pPin) {
    IPin* peer = nullptr;
    CopyInterface(pPin, &peer);
    {
        CAutoLock lock(&m_ConnectionLock);
        std::swap(m_Connected, peer);
    }
    ReleaseInterface(peer);
}

HRESULT STDMETHODCALLTYPE CBasePin::Connect(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) {
    CheckPointer(pReceivePin, E_POINTER);
    CAutoLock lock(m_pLock);
    HRESULT hr = MayConnect();
    if (FAILED(hr)) {
        return hr;
    }
    if (!pmt) {
        return AgreeMediaType(pReceivePin, nullptr);
    }
    const CMediaType wanted(*pmt, &hr);
    return SUCCEEDED(hr) ? AgreeMediaType(pReceivePin, &wanted) : hr;
}

HRESULT CBasePin::AgreeMediaType(IPin* pReceivePin, const CMediaType* pmt) {
    if (pmt && !pmt->IsPartiallySpecified()) {
        return MakeConnection(pReceivePin, pmt, true);
    }
    HRESULT result = VFW_E_NO_ACCEPTABLE_TYPES;
    for (const bool own : {false, true}) {
        nyx::ComPtr<IEnumMediaTypes> types;
        HRESULT hr = own ? EnumMediaTypes(&types) : pReceivePin->EnumMediaTypes(&types);
        if (FAILED(hr) || !types) {
            result = hr == E_OUTOFMEMORY ? hr : result;
            continue;
        }
        hr = TryMediaTypes(pReceivePin, pmt, types.Get());
        if (SUCCEEDED(hr)) {
            return hr;
        }
        if (IsSpecificFailure(hr) && hr != VFW_E_NO_ACCEPTABLE_TYPES) {
            result = hr;
        }
    }
    return result;
}

HRESULT CBasePin::TryMediaTypes(IPin* pReceivePin, const CMediaType* pmt, IEnumMediaTypes* pEnum) {
    HRESULT hr = pEnum->Reset();
    if (FAILED(hr)) {
        return hr;
    }
    HRESULT result = VFW_E_NO_ACCEPTABLE_TYPES;
    AM_MEDIA_TYPE* offered = nullptr;
    ULONG count = 0;
    while (pEnum->Next(1, &offered, &count) == S_OK && offered) {
        hr = S_OK;
        const CMediaType type(*offered, &hr);
        DeleteMediaType(offered);
        offered = nullptr;
        if (SUCCEEDED(hr)) {
            if (pmt && !type.MatchesPartial(pmt)) {
                continue;
            }
            hr = MakeConnection(pReceivePin, &type, true);
            if (SUCCEEDED(hr)) {
                return hr;
            }
        }
        if (IsSpecificFailure(hr) && result == VFW_E_NO_ACCEPTABLE_TYPES) {
            result = hr;
        }
    }
    return result;
}

HRESULT STDMETHODCALLTYPE CBasePin::ReceiveConnection(IPin* pConnector, const AM_MEDIA_TYPE* pmt) {
    CheckPointer(pConnector, E_POINTER);
    CheckPointer(pmt, E_POINTER);
    CAutoLock lock(m_pLock);
    HRESULT hr = MayConnect();
    if (FAILED(hr)) {
        return hr;
    }
    const CMediaType type(*pmt, &hr);
    return SUCCEEDED(hr) ? MakeConnection(pConnector, &type, false) : hr;
}

/// The steps of both sides of a connection; the connecting side calls the other one's. A failure
/// leaves no connection.
HRESULT CBasePin::MakeConnection(IPin* pPeer, const CMediaType* pmt, bool connecting) {
    HRESULT hr = CheckConnect(pPeer);
    if (SUCCEEDED(hr)) {
        hr = CheckMediaType(pmt);
        if (hr != S_OK) {
            hr = IsPlainRefusal(hr) ? VFW_E_TYPE_NOT_ACCEPTED : hr;
        } else {
            // From here on the peer may call back and must find itself connected.
            SetConnected(pPeer);
            hr = StoreMediaType(*pmt);
        }
    }
    if (SUCCEEDED(hr) && connecting) {
        hr = pPeer->ReceiveConnection(this, pmt);
        if (SUCCEEDED(hr)) {
            hr = CompleteConnect(pPeer);
            if (FAILED(hr)) {
                pPeer->Disconnect();
            }
        }
    } else if (SUCCEEDED(hr)) {
        hr = CompleteConnect(pPeer);
    }
    if (FAILED(hr)) {
        std::ignore = BreakConnect();  // the first failure is reported
        SetConnected(nullptr);
    }
    return hr;
}

HRESULT STDMETHODCALLTYPE CBasePin::Disconnect() {
    CAutoLock lock(m_pLock);
    return IsStopped() ? DisconnectInternal() : VFW_E_NOT_STOPPED;
}

HRESULT CBasePin::DisconnectInternal() {
    if (!m_Connected) {
        return S_FALSE;
    }
    const HRESULT hr = BreakConnect();
    if (FAILED(hr)) {
        return hr;
    }
    SetConnected(nullptr);
    return S_OK;
}

HRESULT CBasePin::StoreMediaType(const AM_MEDIA_TYPE& mt) {
    HRESULT hr = S_OK;
    CMediaType type(mt, &hr);
    if (SUCCEEDED(hr)) {
        SwapMediaType(type);
    }
    return hr;
}

void CBasePin::SwapMediaType(CMediaType& mt) {
    CAutoLock lock(&m_ConnectionLock);
    m_mt.Swap(mt);
}

HRESULT CBasePin::CopyCurrentMediaType(AM_MEDIA_TYPE* pmt) {
    CAutoLock lock(&m_ConnectionLock);
    return CopyMediaType(pmt, &m_mt);
}

HRESULT STDMETHODCALLTYPE CBasePin::ConnectedTo(IPin** pPin) {
    CheckPointer(pPin, E_POINTER);
    CAutoLock lock(&m_ConnectionLock);
    CopyInterface(m_Connected, pPin);
    return m_Connected ? S_OK : VFW_E_NOT_CONNECTED;
}

HRESULT STDMETHODCALLTYPE CBasePin::ConnectionMediaType(AM_MEDIA_TYPE* pmt) {
    CheckPointer(pmt, E_POINTER);
    CAutoLock lock(&m_ConnectionLock);
    if (!m_Connected) {
        *pmt = AM_MEDIA_TYPE{};
        return VFW_E_NOT_CONNECTED;
    }
    return CopyMediaType(pmt, &m_mt);
}

HRESULT STDMETHODCALLTYPE CBasePin::QueryPinInfo(PIN_INFO* pInfo) {
    CheckPointer(pInfo, E_POINTER);
    CopyInterface<IBaseFilter>(m_pFilter, &pInfo->pFilter);
    pInfo->dir = m_dir;
    wcsncpy(pInfo->achName, Name(), MAX_PIN_NAME);
    pInfo->achName[MAX_PIN_NAME - 1] = L'\0';
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBasePin::QueryDirection(PIN_DIRECTION* pPinDir) {
    CheckPointer(pPinDir, E_POINTER);
    *pPinDir = m_dir;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBasePin::QueryAccept(const AM_MEDIA_TYPE* pmt) {
    CheckPointer(pmt, E_POINTER);
    HRESULT hr = S_OK;
    const CMediaType type(*pmt, &hr);
    if (SUCCEEDED(hr)) {
        hr = CheckMediaType(&type);
    }
    return FAILED(hr) ? S_FALSE : hr;
}

HRESULT STDMETHODCALLTYPE CBasePin::EnumMediaTypes(IEnumMediaTypes** ppEnum) {
    CheckPointer(ppEnum, E_POINTER);
    *ppEnum = new (std::nothrow) CEnumMediaTypes(this);
    return *ppEnum ? S_OK : E_OUTOFMEMORY;
}
