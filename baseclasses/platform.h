#pragma once

/// @file
/// The platform's own DirectShow and OLE headers, in the order that they need.

#include <windows.h>

#include <dshow.h>
#include <olectl.h>

#include <dvdmedia.h>
