#include "filters/zeta_encoder.h"

#include "filters/zeta_property_page.h"

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
    pages->pElems[0] = kZetaPropertyPageClsid;
    return S_OK;
}

STDMETHODIMP CZetaEncoder::GetParameter(EncodeParameterBlock* block, BOOL fromRegistry) {
    if (!block) {
        return E_INVALIDARG;
    }
    const EncoderParameters parameters = GetParameters(fromRegistry != FALSE);
    *block = {parameters.color_space, parameters.quant_scale, parameters.max_stream_size,
              parameters.preset};
    return S_OK;
}

STDMETHODIMP CZetaEncoder::SetParameter(const EncodeParameterBlock* block, BOOL save) {
    if (!block) {
        return E_INVALIDARG;
    }
    SetParameters({block->color_space, block->quant_scale, block->max_stream_size, block->preset},
                  save != FALSE);
    return S_OK;
}

}  // namespace nyx
