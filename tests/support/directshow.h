#pragma once

/// @file
/// DirectShow's headers in the order they need, and the interface ids that the cross compiler's
/// version of them does not tie to their interfaces.

// Without this dshow.h turns the plain string functions into errors.
#define NO_DSHOW_STRSAFE
#include <dshow.h>
// dvdmedia.h wants dshow.h first.
#include <dvdmedia.h>

__CRT_UUID_DECL(IPinConnection, 0x4a9a62d3, 0x27d4, 0x403d, 0x91, 0xe9, 0x89, 0xf5, 0x40, 0xe5,
                0x55, 0x34)
__CRT_UUID_DECL(IMediaPosition, 0x56a868b2, 0x0ad4, 0x11ce, 0xb0, 0x3a, 0x00, 0x20, 0xaf, 0x0b,
                0xa7, 0x70)
