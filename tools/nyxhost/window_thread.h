#pragma once

#include <functional>

namespace nyx::host {

/// Runs `work` in a thread of its own that is a single-threaded apartment, as windows need it, and
/// waits for its end. Rethrows what `work` throws. Failure kPlatform without an apartment.
void RunInWindowThread(const std::function<void()>& work);

}  // namespace nyx::host
