#pragma once

#include <propsys.h>
#include <thumbcache.h>

#include "baseclasses/combase.h"
#include "platform/com.h"

namespace nyx::shell {

/// A file's thumbnail and properties for the shell, which names the file by a stream, as in its
/// isolated process, or by a path. Reads it on the caller's thread. One thread at a time.
class FootageHandler final : public CUnknown,
                             public IInitializeWithStream,
                             public IInitializeWithFile,
                             public IThumbnailProvider,
                             public IPropertyStore,
                             public IPropertyStoreCapabilities {
  public:
    /// For the class factory.
    static CUnknown* WINAPI Create(IUnknown* outer, HRESULT*) {
        return new FootageHandler(NAME("Nyx footage handler"), outer);
    }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;

    /// Once; then `ERROR_ALREADY_INITIALIZED`. The modes do not count, since nothing is written.
    HRESULT STDMETHODCALLTYPE Initialize(IStream* stream, DWORD mode) override;
    HRESULT STDMETHODCALLTYPE Initialize(LPCWSTR path, DWORD mode) override;

    /// The picture of MakeThumbnail as a DIB section of 32 bits, which the caller deletes, or null;
    /// `*alpha` is WTSAT_RGB. `E_UNEXPECTED` before Initialize.
    HRESULT STDMETHODCALLTYPE GetThumbnail(UINT size, HBITMAP* bitmap,
                                           WTS_ALPHATYPE* alpha) override;

    /// The first call reads the file; when that fails, all return why. Nothing is written.
    HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) override {
        return IsRead() ? store_->GetCount(count) : read_;
    }
    HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) override {
        return IsRead() ? store_->GetAt(index, key) : read_;
    }
    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override {
        return IsRead() ? store_->GetValue(key, value) : read_;
    }
    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY, REFPROPVARIANT) override {
        return STG_E_ACCESSDENIED;
    }
    HRESULT STDMETHODCALLTYPE Commit() override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE IsPropertyWritable(REFPROPERTYKEY) override { return S_FALSE; }

  private:
    using CUnknown::CUnknown;
    [[nodiscard]] HRESULT ReadProperties();
    bool IsRead();

    ComPtr<IStream> stream_;
    HRESULT read_ = S_FALSE;        ///< the properties; S_FALSE before they were read
    ComPtr<IPropertyStore> store_;  ///< the system's, in memory
};

}  // namespace nyx::shell
