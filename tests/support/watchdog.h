#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace nyx::test {

/// Counts steps on all threads; long work counts up now and then.
inline std::atomic<unsigned> progress{0};

/// While it lives, ends the program as failed after two minutes without a step: a deadlock cannot
/// be unwound. The test's name is the last of its output. Counts in ticks of a second, so that a
/// suspended or slow machine counts slower.
class Watchdog {
  public:
    Watchdog() {
        [[maybe_unused]] static const bool begun = (std::thread(&Watch).detach(), true);
        ++watching_;
    }
    ~Watchdog() { --watching_; }

  private:
    static void Watch() {
        constexpr int kDeadlock = 120;
        bool stuck = true;
        for (int idle = 0; idle < kDeadlock; idle = stuck ? idle + 1 : 0) {
            const unsigned seen = progress;
            std::this_thread::sleep_for(std::chrono::seconds(1));
            stuck = watching_ != 0 && seen == progress;
        }
        std::fputs("deadlock: no progress for two minutes\n", stderr);
        std::_Exit(3);
    }
    static inline std::atomic<int> watching_{0};
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
