#pragma once

#include "platform/dshow.h"

namespace nyx::source {

class SourcePin;

/// `IAMStreamSelect` of the filter over its pins of audio, which all are enabled at first. A pin
/// that is not enabled delivers silence of the same length, so that the graph's clock and length
/// stay as they are and a change is heard from the next sample on, in a running graph too. The
/// filter supplies `IUnknown`. Any thread.
class TrackSelection : public IAMStreamSelect {
  public:
    /// The number of pins of audio: 0 before Load.
    HRESULT STDMETHODCALLTYPE Count(DWORD* count) override;
    /// Describes one; every pointer may be null. The group is 1, the object the pin. `S_FALSE` for
    /// an index without a pin.
    HRESULT STDMETHODCALLTYPE Info(long index, AM_MEDIA_TYPE** type, DWORD* flags, LCID* language,
                                   DWORD* group, LPWSTR* name, IUnknown** object,
                                   IUnknown** unknown) override;
    /// Enables that pin alone, with `AMSTREAMSELECTENABLE_ENABLEALL` all, with 0 none.
    /// `E_INVALIDARG` for another flag or an index without a pin.
    HRESULT STDMETHODCALLTYPE Enable(long index, DWORD flags) override;

  protected:
    ~TrackSelection() = default;
    /// A pin of audio, which lives as long as the filter; null for none.
    virtual SourcePin* AudioPin(long index) = 0;
};

}  // namespace nyx::source
