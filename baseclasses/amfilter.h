#pragma once

#include "baseclasses/combase.h"
#include "baseclasses/wxutil.h"

class CBasePin;

/// A filter: its state, clock, graph and name. A derived class owns and supplies the pins.
class CBaseFilter : public CUnknown, public IBaseFilter {
  public:
    /// `pLock` is the filter lock; the derived class owns it. `pUnk` as in CUnknown.
    CBaseFilter(LPCTSTR pName, LPUNKNOWN pUnk, CCritSec* pLock, REFCLSID clsid);
    ~CBaseFilter() override;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// The number of pins.
    virtual int GetPinCount() = 0;
    /// Pin `n` from 0 on, not AddRef'd; null past the last.
    virtual CBasePin* GetPin(int n) = 0;

    // IPersist
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* pClsID) override;

    // IMediaFilter. State changes take the filter lock.
    HRESULT STDMETHODCALLTYPE GetState(DWORD dwMSecs, FILTER_STATE* State) override;
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock* pClock) override;
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** pClock) override;
    /// From stopped, activates every connected pin. When one fails, the filter stays stopped.
    HRESULT STDMETHODCALLTYPE Pause() override;
    /// Pauses first when stopped, then runs the connected pins.
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME tStart) override;

    // IBaseFilter
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** ppEnum) override;
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* pInfo) override;
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* pGraph, LPCWSTR pName) override;
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

    /// Sends an event to the graph, `E_NOTIMPL` without one.
    HRESULT NotifyEvent(LONG EventCode, LONG_PTR EventParam1, LONG_PTR EventParam2);

    BOOL IsStopped() { return m_State == State_Stopped; }

    /// Changes with the set of pins; pin enumerators compare it.
    LONG GetPinVersion() const { return m_PinVersion; }
    void IncrementPinVersion() { InterlockedIncrement(&m_PinVersion); }

  protected:
    FILTER_STATE m_State = State_Stopped;
    IReferenceClock* m_pClock = nullptr;
    CLSID m_clsid;
    CCritSec* m_pLock;
    WCHAR* m_pName = nullptr;            ///< the name in the graph
    IFilterGraph* m_pGraph = nullptr;    ///< not AddRef'd: the graph owns its filters
    IMediaEventSink* m_pSink = nullptr;  ///< the graph's, not AddRef'd either
    volatile LONG m_PinVersion = 1;

  private:
    CBasePin* ConnectedPin(int n);
};
