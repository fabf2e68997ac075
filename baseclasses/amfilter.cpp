#include "baseclasses/amfilter.h"

#include <new>
#include <tuple>

#include "baseclasses/amfilter_enum.h"
#include "baseclasses/amfilter_pin.h"
#include "platform/com.h"

CBaseFilter::CBaseFilter(LPCTSTR pName, LPUNKNOWN pUnk, CCritSec* pLock, REFCLSID clsid)
    : CUnknown(pName, pUnk), m_clsid(clsid), m_pLock(pLock) {}

CBaseFilter::~CBaseFilter() {
    CoTaskMemFree(m_pName);
    ReleaseInterface(m_pClock);
}

HRESULT STDMETHODCALLTYPE CBaseFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IBaseFilter || riid == IID_IMediaFilter || riid == IID_IPersist) {
        return GetInterface(static_cast<IBaseFilter*>(this), ppv);
    }
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT STDMETHODCALLTYPE CBaseFilter::GetClassID(CLSID* pClsID) {
    CheckPointer(pClsID, E_POINTER);
    *pClsID = m_clsid;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseFilter::GetState(DWORD, FILTER_STATE* State) {
    CheckPointer(State, E_POINTER);
    *State = m_State;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseFilter::SetSyncSource(IReferenceClock* pClock) {
    CAutoLock lock(m_pLock);
    ReplaceInterface(m_pClock, pClock);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseFilter::GetSyncSource(IReferenceClock** pClock) {
    CheckPointer(pClock, E_POINTER);
    CAutoLock lock(m_pLock);
    return CopyInterface(m_pClock, pClock);
}

/// Pin `n` if it exists and is connected, else null.
CBasePin* CBaseFilter::ConnectedPin(int n) {
    CBasePin* const pin = GetPin(n);
    return pin && pin->IsConnected() ? pin : nullptr;
}

HRESULT STDMETHODCALLTYPE CBaseFilter::Pause() {
    CAutoLock lock(m_pLock);
    if (m_State == State_Stopped) {
        const int count = GetPinCount();
        for (int i = 0; i < count; ++i) {
            CBasePin* const pin = ConnectedPin(i);
            const HRESULT hr = pin ? pin->Active() : S_OK;
            if (FAILED(hr)) {
                while (i-- > 0) {
                    if (CBasePin* const active = ConnectedPin(i)) {
                        std::ignore = active->Inactive();  // the first failure is reported
                    }
                }
                return hr;
            }
        }
    }
    m_State = State_Paused;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseFilter::Run(REFERENCE_TIME tStart) {
    CAutoLock lock(m_pLock);
    if (m_State == State_Stopped) {
        const HRESULT hr = Pause();
        if (FAILED(hr)) {
            return hr;
        }
    }
    if (m_State != State_Running) {
        const int count = GetPinCount();
        for (int i = 0; i < count; ++i) {
            CBasePin* const pin = ConnectedPin(i);
            const HRESULT hr = pin ? pin->Run(tStart) : S_OK;
            if (FAILED(hr)) {
                return hr;
            }
        }
    }
    m_State = State_Running;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBaseFilter::EnumPins(IEnumPins** ppEnum) {
    CheckPointer(ppEnum, E_POINTER);
    *ppEnum = new (std::nothrow) CEnumPins(this);
    return *ppEnum ? S_OK : E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE CBaseFilter::QueryFilterInfo(FILTER_INFO* pInfo) {
    CheckPointer(pInfo, E_POINTER);
    wcsncpy(pInfo->achName, m_pName ? m_pName : L"", MAX_FILTER_NAME);
    pInfo->achName[MAX_FILTER_NAME - 1] = L'\0';
    return CopyInterface(m_pGraph, &pInfo->pGraph);
}

HRESULT STDMETHODCALLTYPE CBaseFilter::JoinFilterGraph(IFilterGraph* pGraph, LPCWSTR pName) {
    CAutoLock lock(m_pLock);
    WCHAR* name = nullptr;
    const HRESULT hr = AMGetWideString(pName, &name);
    if (FAILED(hr)) {
        return hr;
    }
    CoTaskMemFree(m_pName);
    m_pName = name;
    m_pGraph = pGraph;
    // No reference is kept: the graph outlives its filters' membership and refers to them.
    m_pSink = nyx::As<IMediaEventSink>(pGraph).Get();
    return S_OK;
}

HRESULT CBaseFilter::NotifyEvent(LONG EventCode, LONG_PTR EventParam1, LONG_PTR EventParam2) {
    IMediaEventSink* const sink = m_pSink;
    CheckPointer(sink, E_NOTIMPL);
    return sink->Notify(EventCode, EventParam1, EventParam2);
}
