#pragma once

/// @file
/// The part of the guard that depends on the processor's exception handling: one file for each.

#include <windows.h>

namespace nyx {

/// Calls `function(context)` on this thread and ends it early when it raises an exception that
/// IsForGuard accepts; other exceptions continue to the outer handlers.
void CallInFrame(void (*function)(void* context), void* context);

/// Whether the guard handles this exception: see CallGuarded.
bool IsForGuard(const EXCEPTION_RECORD& record) noexcept;

}  // namespace nyx
