#ifndef NYX_ENCODE_PARAMETER_BLOCK_H
#define NYX_ENCODE_PARAMETER_BLOCK_H

/* The Zeta encoder's parameters, one record for hosts in C and C++, the codec and the settings. */

#ifdef _WIN32
#include <windows.h>
#else
#include "platform/win_types.h"
#endif

/* Four signed 32-bit values in this order. Frames are encoded with the quantiser and the budget;
 * the preset only names that pair, and a host that sets a preset sets its pair too. */
typedef struct EncodeParameterBlock {
    LONG color_space;     /* RGB input: 0 spans 0 to 255, anything else has black 16, white 235 */
    LONG quant_scale;     /* quantiser scale, 3 to 19; larger is coarser */
    LONG max_stream_size; /* budget in percent of an 8-bit 4:2:2 frame, 4 to 100 */
    LONG preset;          /* 0 (3, 50), 1 (4, 40), 2 (5, 30), 3 (19, 4), 4 custom */
} EncodeParameterBlock;

#endif
