#define COBJMACROS
#include "filters/encode_parameter.h"

HRESULT ExchangeParametersFromC(IEncodeParmeter_QZTA* encoder, const EncodeParameterBlock* block,
                                EncodeParameterBlock* before) {
    const HRESULT result = encoder->lpVtbl->GetParameter(encoder, before, FALSE);
    return FAILED(result) ? result : encoder->lpVtbl->SetParameter(encoder, block, FALSE);
}
