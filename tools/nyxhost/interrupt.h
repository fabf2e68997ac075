#pragma once

namespace nyx::host {

/// From now on Ctrl+C, Ctrl+Break and closing the console do not end the process at once but make
/// Interrupted() true, so that files and graphs are closed properly.
void WatchForInterrupt();

/// True once the user asked to stop; any thread.
bool Interrupted();

}  // namespace nyx::host
