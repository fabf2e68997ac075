#pragma once

#include "baseclasses/platform.h"

class CBaseFilter;
class CBasePin;

/// Enumerates a filter's pins and keeps the filter alive. When the pins have changed, Next begins
/// afresh; Skip and Clone answer `VFW_E_ENUM_OUT_OF_SYNC` until Next or Reset.
class CEnumPins final : public IEnumPins {
  public:
    /// Begins with one reference, at the first pin.
    explicit CEnumPins(CBaseFilter* pFilter);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE Next(ULONG cPins, IPin** ppPins, ULONG* pcFetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG cPins) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumPins** ppEnum) override;

  private:
    CEnumPins(const CEnumPins& other);
    ~CEnumPins();
    BOOL AreWeOutOfSync();

    CBaseFilter* const m_pFilter;
    volatile LONG m_cRef = 1;
    LONG m_Version;
    int m_Position = 0;
    int m_PinCount;
};

/// Enumerates a pin's preferred media types and keeps the pin alive.
class CEnumMediaTypes final : public IEnumMediaTypes {
  public:
    /// Begins with one reference, at the first type.
    explicit CEnumMediaTypes(CBasePin* pPin);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE Next(ULONG cMediaTypes, AM_MEDIA_TYPE** ppMediaTypes,
                                   ULONG* pcFetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG cMediaTypes) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumMediaTypes** ppEnum) override;

  private:
    CEnumMediaTypes(const CEnumMediaTypes& other);
    ~CEnumMediaTypes();

    CBasePin* const m_pPin;
    volatile LONG m_cRef = 1;
    int m_Position = 0;
};
