#define COBJMACROS
#include "filters/encode_parameter.h"

HRESULT SetQuantScaleFromC(IUnknown* filter, LONG quant_scale, LONG* before) {
    IEncodeParmeter_QZTA* encoder = NULL;
    EncodeParameterBlock block;
    HRESULT result = IUnknown_QueryInterface(filter, &IID_IEncodeParmeter_QZTA, (void**)&encoder);
    if (FAILED(result)) {
        return result;
    }
    result = encoder->lpVtbl->GetParameter(encoder, &block, FALSE);
    if (SUCCEEDED(result)) {
        *before = block.quant_scale;
        block.quant_scale = quant_scale;
        block.preset = 4;
        result = encoder->lpVtbl->SetParameter(encoder, &block, FALSE);
    }
    encoder->lpVtbl->Release(encoder);
    return result;
}
