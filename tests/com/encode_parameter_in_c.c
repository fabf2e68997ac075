/* The header as a host in C has it. */
#include <stddef.h>

#include "filters/encode_parameter.h"

_Static_assert(offsetof(IEncodeParmeter_QZTAVtbl, GetParameter) == 3 * sizeof(void*), "");
_Static_assert(offsetof(IEncodeParmeter_QZTAVtbl, SetParameter) == 4 * sizeof(void*), "");
