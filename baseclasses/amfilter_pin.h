#pragma once

#include "baseclasses/combase.h"
#include "baseclasses/mtype.h"
#include "baseclasses/wxutil.h"

class CBaseFilter;

/// A pin: its connection and what was agreed for it. A filter owns its pins; references to a pin
/// are references to the filter. Connecting takes the filter lock; questions about the connection
/// do not, so that a neighbour may ask them at any time.
class CBasePin : public CUnknown, public IPin, public IQualityControl {
  public:
    /// `pName` is the pin's name; it is copied. `*phr` becomes `E_OUTOFMEMORY` when it cannot be.
    CBasePin(LPCTSTR pObjectName, CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr,
             LPCWSTR pName, PIN_DIRECTION dir);
    ~CBasePin() override;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE NonDelegatingAddRef() override;
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() override;

    // What a derived pin supplies or extends; all under the filter lock but CheckMediaType and
    // GetMediaType, which come from anywhere.

    /// `S_OK` for a type that the pin can handle.
    virtual HRESULT CheckMediaType(const CMediaType* pmt) = 0;
    /// Keeps the type of the connection that is being made.
    virtual HRESULT SetMediaType(const CMediaType* pmt);
    /// Whether `pPin` may be connected to at all. The base asks for the opposite direction.
    virtual HRESULT CheckConnect(IPin* pPin);
    /// Undoes CheckConnect and CompleteConnect; also called when a connection fails on the way.
    virtual HRESULT BreakConnect() = 0;
    /// The last word on a connection, after both pins agreed on the type.
    virtual HRESULT CompleteConnect(IPin* pReceivePin);
    /// Preferred type `iPosition` from 0 on; the base has none: `E_UNEXPECTED`.
    virtual HRESULT GetMediaType(int iPosition, CMediaType* pMediaType);

    /// Called when the filter leaves, enters the stopped state, or runs.
    virtual HRESULT Active();
    virtual HRESULT Inactive() = 0;
    virtual HRESULT Run(REFERENCE_TIME tStart);

    // IPin
    HRESULT STDMETHODCALLTYPE Connect(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* pConnector,
                                                const AM_MEDIA_TYPE* pmt) override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** pPin) override;
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* pmt) override;
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* pInfo) override;
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* pPinDir) override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* pmt) override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** ppEnum) override;
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin** apPin, ULONG* nPin) override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop,
                                         double dRate) override;

    // IQualityControl
    HRESULT STDMETHODCALLTYPE SetSink(IQualityControl* piqc) override;

    BOOL IsConnected() const { return m_Connected != nullptr; }
    BOOL IsStopped() const;
    LPCWSTR Name() const { return m_pName ? m_pName : L""; }
    /// The type of the connection; what it was, when there is none.
    CMediaType& CurrentMediaType() { return m_mt; }
    /// Exchanges the kept type and `mt`. While a neighbour may ask, nothing else may change it.
    void SwapMediaType(CMediaType& mt);

  protected:
    /// Tries one type with one peer: afterwards connected, or as before.
    HRESULT AttemptConnection(IPin* pReceivePin, const CMediaType* pmt);
    /// Tries what `pEnum` offers and `pmt`, null allowed, does not exclude.
    HRESULT TryMediaTypes(IPin* pReceivePin, const CMediaType* pmt, IEnumMediaTypes* pEnum);
    /// Tries a full type alone, else the peer's types, then this pin's own.
    HRESULT AgreeMediaType(IPin* pReceivePin, const CMediaType* pmt);
    /// Disconnect without the question of state, under the filter lock. `S_FALSE` when there was no
    /// connection.
    HRESULT DisconnectInternal();

    /// SwapMediaType with a copy of `mt`. `E_OUTOFMEMORY` leaves the kept type.
    HRESULT StoreMediaType(const AM_MEDIA_TYPE& mt);
    /// CopyMediaType of the kept type, safely beside SwapMediaType.
    HRESULT CopyCurrentMediaType(AM_MEDIA_TYPE* pmt);

    WCHAR* m_pName = nullptr;
    IPin* m_Connected = nullptr;
    PIN_DIRECTION m_dir;
    CCritSec* m_pLock;  ///< the filter lock
    bool m_bRunTimeError = false;
    CBaseFilter* m_pFilter;
    CMediaType m_mt;

  private:
    HRESULT MakeConnection(IPin* pPeer, const CMediaType* pmt, bool connecting);
    HRESULT MayConnect() const;
    void SetConnected(IPin* pPin);

    /// Guards the two things that neighbours ask for while they may change: the peer and the type.
    /// Innermost: a type is copied under it, but of other objects nothing is called except AddRef;
    /// what is replaced goes after it.
    CCritSec m_ConnectionLock;
};
