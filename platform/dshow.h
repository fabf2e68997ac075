#pragma once

/// @file
/// The platform's own DirectShow and OLE headers, in the order that they need.

#include <windows.h>

// Without this dshow.h removes the plain string functions.
#ifndef NO_DSHOW_STRSAFE
#define NO_DSHOW_STRSAFE
#endif
#include <dshow.h>
#include <olectl.h>

#include <dvdmedia.h>
