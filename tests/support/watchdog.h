#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace nyx::test {

/// Runs `work` on a thread of its own and waits for it. A deadlock cannot be unwound, so when
/// `work` does not come back for minutes the program ends with `what` as its last words: a text, or
/// an atomic pointer to the text that `work` set last.
template <class What, class Work>
void MustFinish(const What& what, Work work) {
    constexpr std::chrono::minutes kDeadlock(8);  // no slow machine needs a tenth of that
    std::packaged_task<void()> task(std::move(work));
    std::future<void> done = task.get_future();
    std::thread thread(std::move(task));
    if (done.wait_for(kDeadlock) != std::future_status::ready) {
        const char* const words = what;
        std::fprintf(stderr, "deadlock: %s\n", words);  // which is not buffered
        std::_Exit(3);
    }
    thread.join();
    done.get();
}

/// Calls `round` again and again, once at least, for the given time.
template <class Round>
void For(std::chrono::milliseconds time, Round round) {
    const auto end = std::chrono::steady_clock::now() + time;
    do {
        round();
    } while (std::chrono::steady_clock::now() < end);
}

}  // namespace nyx::test
