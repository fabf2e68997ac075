#pragma once

#include "baseclasses/combase.h"
#include "baseclasses/mtype.h"
#include "baseclasses/wxutil.h"

class CBaseFilter;

/// A pin: its connection and the type agreed for it. A filter owns its pins; references to a pin
/// are references to the filter. Connecting takes the filter lock; queries about the connection do
/// not, so that a peer may make them at any time.
class CBasePin : public CUnknown, public IPin, public IQualityControl {
  public:
    /// Copies the pin's name `pName`; `*phr` becomes `E_OUTOFMEMORY` without memory for it.
    CBasePin(CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr, LPCWSTR pName, PIN_DIRECTION dir);
    ~CBasePin() override;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE NonDelegatingAddRef() override;
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() override;

    // For derived pins to supply or extend; all run under the filter lock except CheckMediaType and
    // GetMediaType, which run on any thread.

    /// `S_OK` for a type that the pin can handle.
    [[nodiscard]] virtual HRESULT CheckMediaType(const CMediaType* pmt) = 0;
    /// Whether `pPin` can be a peer. The base class requires the opposite direction.
    [[nodiscard]] virtual HRESULT CheckConnect(IPin* pPin);
    /// Undoes CheckConnect and CompleteConnect; also called when connecting fails. The base class
    /// decommits and releases the allocator.
    [[nodiscard]] virtual HRESULT BreakConnect();
    /// The last step of connecting, after both pins have agreed on the type.
    [[nodiscard]] virtual HRESULT CompleteConnect(IPin*) { return S_OK; }
    /// Preferred type `iPosition` from 0 on. The base class has none: `E_UNEXPECTED`.
    [[nodiscard]] virtual HRESULT GetMediaType(int, CMediaType*) { return E_UNEXPECTED; }

    /// Called when the filter leaves the stopped state, enters it, or runs.
    [[nodiscard]] virtual HRESULT Active() { return S_OK; }
    /// Decommits the allocator; `VFW_E_NO_ALLOCATOR` without one.
    [[nodiscard]] virtual HRESULT Inactive();
    [[nodiscard]] virtual HRESULT Run(REFERENCE_TIME) { return S_OK; }

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
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin**, ULONG*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override {
        return S_OK;
    }

    /// Ignored: no filter here forwards quality messages.
    HRESULT STDMETHODCALLTYPE SetSink(IQualityControl*) override { return S_OK; }

    BOOL IsConnected() const { return m_Connected != nullptr; }
    BOOL IsStopped() const;
    LPCWSTR Name() const { return m_pName ? m_pName : L""; }
    /// The type of the connection, or of the last one.
    CMediaType& CurrentMediaType() { return m_mt; }
    /// Exchanges the stored type and `mt`. The only way to change it while a peer may query it.
    void SwapMediaType(CMediaType& mt);

  protected:
    /// Tries the types of `pEnum` that match `pmt`, null allowed.
    [[nodiscard]] HRESULT TryMediaTypes(IPin* pReceivePin, const CMediaType* pmt,
                                        IEnumMediaTypes* pEnum);
    /// Tries a full type alone, else the peer's types, then this pin's own.
    [[nodiscard]] HRESULT AgreeMediaType(IPin* pReceivePin, const CMediaType* pmt);
    /// Disconnect in any state, under the filter lock. `S_FALSE` without a connection.
    [[nodiscard]] HRESULT DisconnectInternal();

    /// SwapMediaType with a copy of `mt`. `E_OUTOFMEMORY` leaves the stored type.
    [[nodiscard]] HRESULT StoreMediaType(const AM_MEDIA_TYPE& mt);
    /// CopyMediaType of the stored type, safe beside SwapMediaType.
    [[nodiscard]] HRESULT CopyCurrentMediaType(AM_MEDIA_TYPE* pmt);

    WCHAR* m_pName = nullptr;
    IPin* m_Connected = nullptr;
    PIN_DIRECTION m_dir;
    CCritSec* m_pLock;  ///< the filter lock
    CBaseFilter* m_pFilter;
    IMemAllocator* m_pAllocator = nullptr;  ///< of the connection
    CMediaType m_mt;

  private:
    [[nodiscard]] HRESULT MakeConnection(IPin* pPeer, const CMediaType* pmt, bool connecting);
    [[nodiscard]] HRESULT MayConnect() const;
    void SetConnected(IPin* pPin);

    /// Guards the peer and the type, which peers query while they may change. Innermost: a type is
    /// copied under it, but of other objects only AddRef is called, and replaced ones are released
    /// after it.
    CCritSec m_ConnectionLock;
};
