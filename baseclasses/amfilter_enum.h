#pragma once

#include "baseclasses/platform.h"
#include "platform/com.h"

class CBaseFilter;
class CBasePin;

/// The identity and the reference count of an enumerator, which begins with one reference.
template <class I>
class CEnumerator : public I {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

  protected:
    CEnumerator() = default;
    /// A copy has a reference count of its own.
    CEnumerator(const CEnumerator&) {}
    virtual ~CEnumerator() = default;

  private:
    volatile LONG m_cRef = 1;
};

/// Enumerates a filter's pins and keeps the filter alive. When the pins have changed, Next starts
/// over; Skip and Clone return `VFW_E_ENUM_OUT_OF_SYNC` until Next or Reset.
class CEnumPins final : public CEnumerator<IEnumPins> {
  public:
    /// Starts at the first pin.
    explicit CEnumPins(CBaseFilter* pFilter);

    HRESULT STDMETHODCALLTYPE Next(ULONG cPins, IPin** ppPins, ULONG* pcFetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG cPins) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumPins** ppEnum) override;

  private:
    BOOL AreWeOutOfSync();

    const nyx::ComPtr<CBaseFilter> m_pFilter;
    LONG m_Version;
    int m_Position = 0;
    int m_PinCount;
};

/// Enumerates a pin's preferred media types and keeps the pin alive.
class CEnumMediaTypes final : public CEnumerator<IEnumMediaTypes> {
  public:
    /// Starts at the first type.
    explicit CEnumMediaTypes(CBasePin* pPin);

    HRESULT STDMETHODCALLTYPE Next(ULONG cMediaTypes, AM_MEDIA_TYPE** ppMediaTypes,
                                   ULONG* pcFetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG cMediaTypes) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumMediaTypes** ppEnum) override;

  private:
    const nyx::ComPtr<CBasePin> m_pPin;
    int m_Position = 0;
};
