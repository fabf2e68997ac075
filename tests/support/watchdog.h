#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace nyx::test {

/// Counts steps on all threads; long work counts up now and then.
inline std::atomic<unsigned> progress{0};

/// While it lives, ends the program as failed after two minutes without a step: a deadlock cannot
/// be unwound. The test's name is the last of its output. Counts in ticks of a second, so that a
/// suspended or slow machine counts slower.
class Watchdog {
  public:
    Watchdog() = default;
    ~Watchdog() {
        {
            const std::lock_guard lock(mutex_);
            over_ = true;
        }
        ended_.notify_one();
        thread_.join();
    }

  private:
    void Watch() {
        constexpr int kDeadlock = 120;
        std::unique_lock lock(mutex_);
        unsigned seen = progress;
        for (int idle = 0; idle < kDeadlock; idle = seen == progress ? idle + 1 : 0) {
            seen = progress;
            if (ended_.wait_for(lock, std::chrono::seconds(1), [&] { return over_; })) {
                return;
            }
        }
        std::fputs("deadlock: no progress for two minutes\n", stderr);
        std::_Exit(3);
    }

    std::mutex mutex_;
    std::condition_variable ended_;
    bool over_ = false;
    std::thread thread_{[this] { Watch(); }};
};

/// Calls `round` repeatedly for the given time, at least once. Each call is a step.
template <class Round>
void For(std::chrono::milliseconds time, Round round) {
    const auto end = std::chrono::steady_clock::now() + time;
    do {
        round();
        ++progress;
    } while (std::chrono::steady_clock::now() < end);
}

}  // namespace nyx::test
