#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace nyx::test {

/// Runs `work` on a thread of its own and waits for it. A deadlock cannot be unwound, so when
/// `work` does not come back in time the program ends with `what` as its last words.
template <class Work>
void MustFinish(const char* what, Work work,
                std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    std::packaged_task<void()> task(std::move(work));
    std::future<void> done = task.get_future();
    std::thread thread(std::move(task));
    if (done.wait_for(limit) != std::future_status::ready) {
        std::fprintf(stderr, "deadlock: %s\n", what);
        std::fflush(nullptr);
        std::_Exit(3);
    }
    thread.join();
    done.get();
}

}  // namespace nyx::test
