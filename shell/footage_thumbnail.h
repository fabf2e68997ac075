#pragma once

#include <thumbcache.h>

#include "shell/footage_object.h"

namespace nyx::shell {

/// The thumbnail of a file of footage.
class FootageThumbnail final : public FootageObject, public IThumbnailProvider {
  public:
    /// For the class factory.
    static CUnknown* WINAPI Create(IUnknown* outer, HRESULT* result);

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;

    /// The picture of MakeThumbnail as a DIB section of 32 bits, rows from the top, which the
    /// caller deletes; `*alpha` is WTSAT_RGB. Any failure leaves null in `*bitmap`.
    HRESULT STDMETHODCALLTYPE GetThumbnail(UINT size, HBITMAP* bitmap,
                                           WTS_ALPHATYPE* alpha) override;

  private:
    using FootageObject::FootageObject;
};

}  // namespace nyx::shell
