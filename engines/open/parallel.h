#pragma once

/// @file
/// Work on one picture by several threads: the caller's and those of the system's thread pool. This
/// library starts none, so that nothing waits for a thread when it is freed.

#include <type_traits>

namespace nyx::open {

/// The number of threads that may work on a picture, the caller's included: one for each processor
/// that the process may run on, and at most `limit`. At least 1.
int CountThreads(int limit);

/// Calls `part(context, i)` once for every i of [0, count), in any order, on this thread and on up
/// to `threads - 1` of the process's default pool. Does not wait for threads of the pool that are
/// busy elsewhere. Returns when every call has ended: true, or false when one raised an exception
/// or threw (codecs/fault_guard.h); then some parts may not have been called. Any thread.
[[nodiscard]] bool RunParts(int threads, int count, void (*part)(void* context, int index),
                            void* context);

/// RunParts for a callable.
template <typename Part>
[[nodiscard]] bool RunParts(int threads, int count, Part&& part) {
    using Callable = std::remove_reference_t<Part>;
    return RunParts(
        threads, count, [](void* context, int index) { (*static_cast<Callable*>(context))(index); },
        &part);
}

}  // namespace nyx::open
