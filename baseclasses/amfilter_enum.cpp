#include "baseclasses/amfilter_enum.h"

#include <algorithm>
#include <limits>
#include <new>

#include "baseclasses/amfilter.h"
#include "baseclasses/amfilter_pin.h"

namespace {

/// What an enumerator answers for: `IUnknown` and its own interface.
template <class I>
HRESULT QueryEnumerator(I* enumerator, REFIID riid, REFIID own, void** ppv) {
    CheckPointer(ppv, E_POINTER);
    if (riid == IID_IUnknown || riid == own) {
        return GetInterface(enumerator, ppv);
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

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

CEnumPins::CEnumPins(CBaseFilter* pFilter)
    : m_pFilter(pFilter), m_Version(pFilter->GetPinVersion()), m_PinCount(pFilter->GetPinCount()) {
    m_pFilter->AddRef();
}

CEnumPins::CEnumPins(const CEnumPins& other)
    : m_pFilter(other.m_pFilter),
      m_Version(other.m_Version),
      m_Position(other.m_Position),
      m_PinCount(other.m_PinCount) {
    m_pFilter->AddRef();
}

CEnumPins::~CEnumPins() {
    m_pFilter->Release();
}

HRESULT STDMETHODCALLTYPE CEnumPins::QueryInterface(REFIID riid, void** ppv) {
    return QueryEnumerator(this, riid, IID_IEnumPins, ppv);
}

ULONG STDMETHODCALLTYPE CEnumPins::AddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&m_cRef));
}

ULONG STDMETHODCALLTYPE CEnumPins::Release() {
    const LONG left = InterlockedDecrement(&m_cRef);
    if (left == 0) {
        delete this;
    }
    return static_cast<ULONG>(left);
}

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

CEnumMediaTypes::CEnumMediaTypes(CBasePin* pPin) : m_pPin(pPin) {
    m_pPin->AddRef();
}

CEnumMediaTypes::CEnumMediaTypes(const CEnumMediaTypes& other)
    : m_pPin(other.m_pPin), m_Position(other.m_Position) {
    m_pPin->AddRef();
}

CEnumMediaTypes::~CEnumMediaTypes() {
    m_pPin->Release();
}

HRESULT STDMETHODCALLTYPE CEnumMediaTypes::QueryInterface(REFIID riid, void** ppv) {
    return QueryEnumerator(this, riid, IID_IEnumMediaTypes, ppv);
}

ULONG STDMETHODCALLTYPE CEnumMediaTypes::AddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&m_cRef));
}

ULONG STDMETHODCALLTYPE CEnumMediaTypes::Release() {
    const LONG left = InterlockedDecrement(&m_cRef);
    if (left == 0) {
        delete this;
    }
    return static_cast<ULONG>(left);
}

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
    *ppEnum = nullptr;
    *ppEnum = new (std::nothrow) CEnumMediaTypes(*this);
    return *ppEnum ? S_OK : E_OUTOFMEMORY;
}
