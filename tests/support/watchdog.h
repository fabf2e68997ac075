#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace nyx::test {

/// Runs `work` on a thread of its own and waits for it. A deadlock cannot be unwound, so when
/// `work` does not come back in time the program ends with `what` as its last words: a text, or an
/// atomic pointer to the text that `work` set last.
template <class What, class Work>
void MustFinish(const What& what, Work work,
                std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    std::packaged_task<void()> task(std::move(work));
    std::future<void> done = task.get_future();
    std::thread thread(std::move(task));
    if (done.wait_for(limit) != std::future_status::ready) {
        const char* const words = what;
        std::fprintf(stderr, "deadlock: %s\n", words);
        std::fflush(nullptr);
        std::_Exit(3);
    }
    thread.join();
    done.get();
}

}  // namespace nyx::test
