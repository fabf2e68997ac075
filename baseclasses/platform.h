#pragma once

/// @file
/// The platform's own DirectShow and OLE headers, in the order that they need.

#include <windows.h>

// Without this dshow.h takes the plain string functions away.
#ifndef NO_DSHOW_STRSAFE
#define NO_DSHOW_STRSAFE
#endif
#include <dshow.h>
#include <olectl.h>

#include <dvdmedia.h>
