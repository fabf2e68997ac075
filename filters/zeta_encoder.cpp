#include "filters/zeta_encoder.h"

#include "platform/class_ids.h"

namespace nyx {

STDMETHODIMP CZetaEncoder::NonDelegatingQueryInterface(REFIID iid, void** object) {
    if (object && IsAvailable()) {
        if (iid == IID_IEncodeParmeter_QZTA) {
            return GetInterface(static_cast<IEncodeParmeter_QZTA*>(this), object);
        }
        if (iid == IID_ISpecifyPropertyPages) {
            return GetInterface(static_cast<ISpecifyPropertyPages*>(this), object);
        }
    }
    return NyxFilterImpl::NonDelegatingQueryInterface(iid, object);
}

STDMETHODIMP CZetaEncoder::GetPages(CAUUID* pages) {
    if (!pages) {
        return E_POINTER;
    }
    *pages = {};
    if (!IsAvailable()) {
        return E_FAIL;
    }
    pages->pElems = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
    if (!pages->pElems) {
        return E_OUTOFMEMORY;
    }
    pages->cElems = 1;
    pages->pElems[0] = CLSID_NyxZetaPropertyPage;
    return S_OK;
}

namespace {

/// Reads the low byte of a flag, the only one that a host with a one-byte bool sets.
bool IsSet(BOOL flag) {
    return (flag & 0xFF) != 0;
}

}  // namespace

STDMETHODIMP CZetaEncoder::GetParameter(EncodeParameterBlock* block, BOOL fromRegistry) {
    if (!block) {
        return E_INVALIDARG;
    }
    *block = GetParameters(IsSet(fromRegistry));
    return S_OK;
}

STDMETHODIMP CZetaEncoder::SetParameter(const EncodeParameterBlock* block, BOOL save) {
    if (!block) {
        return E_INVALIDARG;
    }
    SetParameters(*block, IsSet(save));
    return S_OK;
}

}  // namespace nyx
