#pragma once

#include <windows.h>

namespace nyx {

/// A lock for short, rare work that cannot use the system's own, because it must exist before any
/// static constructor runs. Constant-initialised, not recursive. Waiters poll, with a pause hint to
/// the processor, and yield after every 1000 polls.
class SpinLock {
  public:
    constexpr SpinLock() = default;
    SpinLock(const SpinLock&) = delete;
    SpinLock& operator=(const SpinLock&) = delete;

    void lock() noexcept {
        if (!TryLock()) {
            Wait();
        }
    }

    void unlock() noexcept { InterlockedExchange(&word_, kFree); }

  private:
    static constexpr LONG kFree = 0;
    static constexpr LONG kHeld = 1;
    static constexpr int kPollsBeforeYield = 1000;
    static constexpr int kPollsBetweenTries = 16;

    bool TryLock() { return InterlockedExchange(&word_, kHeld) == kFree; }

    void Wait() {
        for (;;) {
            for (int poll = 0; poll < kPollsBeforeYield; ++poll) {
                if (poll % kPollsBetweenTries == 0 && word_ == kFree && TryLock()) {
                    return;
                }
                YieldProcessor();
            }
            Sleep(0);
        }
    }

    volatile LONG word_ = kFree;
};

}  // namespace nyx
