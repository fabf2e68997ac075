#pragma once

#include "shell/footage_object.h"

namespace nyx::shell {

/// The properties of a file of footage, which are read by Initialize.
class FootageProperties final : public FootageObject,
                                public IPropertyStore,
                                public IPropertyStoreCapabilities {
  public:
    /// For the class factory.
    static CUnknown* WINAPI Create(IUnknown* outer, HRESULT* result);

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;

    /// `E_UNEXPECTED` before Initialize has succeeded.
    HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) override;
    HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) override;
    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override;
    /// Nothing is written.
    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY, REFPROPVARIANT) override {
        return STG_E_ACCESSDENIED;
    }
    HRESULT STDMETHODCALLTYPE Commit() override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE IsPropertyWritable(REFPROPERTYKEY) override { return S_FALSE; }

  private:
    using FootageObject::FootageObject;
    [[nodiscard]] HRESULT Begin() override;
    ComPtr<IPropertyStore> Store();

    ComPtr<IPropertyStore> store_;  ///< of the system, in memory
};

}  // namespace nyx::shell
