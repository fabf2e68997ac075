#pragma once

/// @file
/// The part of the guard that a processor's exception handling fixes: one file for each of them.

#include <windows.h>

namespace nyx {

/// Calls `function(context)` on this thread, and ends it early when it raised something that
/// IsForGuard takes. Anything else goes on to the handlers around. `function` lets no C++ exception
/// out.
void CallInFrame(void (*function)(void* context), void* context);

/// Whether the guard takes this exception: see CallGuarded.
bool IsForGuard(const EXCEPTION_RECORD& record);

}  // namespace nyx
