#pragma once

namespace nyx::host {

/// From now on Ctrl+C, Ctrl+Break and closing the console set Interrupted() instead of ending the
/// process, so that files and graphs are closed properly.
void WatchForInterrupt();

/// True once the user has interrupted the program; any thread.
bool Interrupted();

}  // namespace nyx::host
