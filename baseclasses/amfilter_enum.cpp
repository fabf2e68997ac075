#include "baseclasses/amfilter_enum.h"

#include <algorithm>
#include <limits>
#include <new>

#include "baseclasses/amfilter.h"
#include "baseclasses/amfilter_pin.h"

namespace {

/// The common checks of Next; zeroes the count when there is one.
HRESULT CheckNext(ULONG count, const void* items, ULONG* fetched) {
    CheckPointer(items, E_POINTER);
    if (fetched) {
        *fetched = 0;
        return S_OK;
    }
    return count > 1 ? E_INVALIDARG : S_OK;
}

void StoreFetched(ULONG* fetched, ULONG value) {
    if (fetched) {
        *fetched = value;
    }
}

}  // namespace

template <class I>
HRESULT STDMETHODCALLTYPE CEnumerator<I>::QueryInterface(REFIID riid, void** ppv) {
    CheckPointer(ppv, E_POINTER);
    if (riid == IID_IUnknown || riid == __uuidof(I)) {
        return GetInterface(this, ppv);
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

template <class I>
ULONG STDMETHODCALLTYPE CEnumerator<I>::AddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&m_cRef));
}

template <class I>
ULONG STDMETHODCALLTYPE CEnumerator<I>::Release() {
    const LONG left = InterlockedDecrement(&m_cRef);
    if (left == 0) {
        delete this;
    }
    return static_cast<ULONG>(left);
}

CEnumPins::CEnumPins(CBaseFilter* pFilter)
    : m_pFilter(pFilter), m_Version(pFilter->GetPinVersion()), m_PinCount(pFilter->GetPinCount()) {}

BOOL CEnumPins::AreWeOutOfSync() {
    return m_pFilter->GetPinVersion() != m_Version;
}

HRESULT STDMETHODCALLTYPE CEnumPins::Next(ULONG cPins, IPin** ppPins, ULONG* pcFetched) {
    const HRESULT hr = CheckNext(cPins, ppPins, pcFetched);
    if (FAILED(hr)) {
        return hr;
    }
    if (AreWeOutOfSync()) {
        Reset();
    }
    ULONG fetched = 0;
    while (fetched < cPins && m_Position < m_PinCount) {
        CBasePin* const pin = m_pFilter->GetPin(m_Position++);
        if (pin) {
            pin->AddRef();
            ppPins[fetched++] = pin;
        }
    }
    StoreFetched(pcFetched, fetched);
    return fetched == cPins ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE CEnumPins::Skip(ULONG cPins) {
    if (AreWeOutOfSync()) {
        return VFW_E_ENUM_OUT_OF_SYNC;
    }
    const auto left = static_cast<ULONG>(m_PinCount - m_Position);
    if (cPins > left) {
        return S_FALSE;
    }
    m_Position += static_cast<int>(cPins);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CEnumPins::Reset() {
    m_Version = m_pFilter->GetPinVersion();
    m_PinCount = m_pFilter->GetPinCount();
    m_Position = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CEnumPins::Clone(IEnumPins** ppEnum) {
    CheckPointer(ppEnum, E_POINTER);
    *ppEnum = nullptr;
    if (AreWeOutOfSync()) {
        return VFW_E_ENUM_OUT_OF_SYNC;
    }
    *ppEnum = new (std::nothrow) CEnumPins(*this);
    return *ppEnum ? S_OK : E_OUTOFMEMORY;
}

CEnumMediaTypes::CEnumMediaTypes(CBasePin* pPin) : m_pPin(pPin) {}

HRESULT STDMETHODCALLTYPE CEnumMediaTypes::Next(ULONG cMediaTypes, AM_MEDIA_TYPE** ppMediaTypes,
                                                ULONG* pcFetched) {
    const HRESULT hr = CheckNext(cMediaTypes, ppMediaTypes, pcFetched);
    if (FAILED(hr)) {
        return hr;
    }
    ULONG fetched = 0;
    CMediaType type;
    while (fetched < cMediaTypes && m_pPin->GetMediaType(m_Position, &type) == S_OK) {
        AM_MEDIA_TYPE* const copy = CreateMediaType(&type);
        if (!copy) {
            break;
        }
        ppMediaTypes[fetched++] = copy;
        ++m_Position;
    }
    StoreFetched(pcFetched, fetched);
    return fetched == cMediaTypes ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE CEnumMediaTypes::Skip(ULONG cMediaTypes) {
    const auto room = static_cast<ULONG>(std::numeric_limits<int>::max() - m_Position);
    m_Position += static_cast<int>(std::min(cMediaTypes, room));
    CMediaType last;
    return cMediaTypes == 0 || m_pPin->GetMediaType(m_Position - 1, &last) == S_OK ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE CEnumMediaTypes::Reset() {
    m_Position = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CEnumMediaTypes::Clone(IEnumMediaTypes** ppEnum) {
    CheckPointer(ppEnum, E_POINTER);
    *ppEnum = new (std::nothrow) CEnumMediaTypes(*this);
    return *ppEnum ? S_OK : E_OUTOFMEMORY;
}
