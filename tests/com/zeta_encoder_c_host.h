#ifndef NYX_ZETA_ENCODER_C_HOST_H
#define NYX_ZETA_ENCODER_C_HOST_H

#include <unknwn.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the live parameters of an encoder, then sets the quantiser and the custom preset. */
HRESULT SetQuantScaleFromC(IUnknown* filter, LONG quant_scale, LONG* before);

#ifdef __cplusplus
}
#endif

#endif
