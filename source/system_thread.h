#pragma once

/// @file
/// A thread and its waits by the system's own means: the compiler's thread library would leave
/// handles in the host whenever this library is unloaded (platform/runtime.cpp).

#include <process.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <mutex>
#include <new>

namespace nyx::source {

/// One thread at a time; to be joined before it is started anew or destroyed.
class Thread {
  public:
    Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// `body` must not throw. Throws std::bad_alloc when there is no memory or can be no thread.
    void Start(std::function<void()> body) {
        auto owned = std::make_unique<std::function<void()>>(std::move(body));
        handle_ =
            reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Run, owned.get(), 0, nullptr));
        if (!handle_) {
            throw std::bad_alloc();
        }
        owned.release();
    }
    bool joinable() const { return handle_ != nullptr; }
    void join() {
        WaitForSingleObject(handle_, INFINITE);
        CloseHandle(handle_);
        handle_ = nullptr;
    }

  private:
    static unsigned __stdcall Run(void* body) {
        const std::unique_ptr<std::function<void()>> owned(
            static_cast<std::function<void()>*>(body));
        (*owned)();
        return 0;
    }

    HANDLE handle_ = nullptr;
};

/// For std::lock_guard and std::unique_lock.
class Mutex {
  public:
    void lock() { AcquireSRWLockExclusive(&lock_); }
    void unlock() { ReleaseSRWLockExclusive(&lock_); }

  private:
    friend class Condition;
    SRWLOCK lock_ = SRWLOCK_INIT;
};

/// As std::condition_variable, over Mutex.
class Condition {
  public:
    template <class Predicate>
    void wait(std::unique_lock<Mutex>& lock, Predicate fulfilled) {
        while (!fulfilled()) {
            SleepConditionVariableSRW(&condition_, &lock.mutex()->lock_, INFINITE, 0);
        }
    }
    void notify_all() { WakeAllConditionVariable(&condition_); }

  private:
    CONDITION_VARIABLE condition_ = CONDITION_VARIABLE_INIT;
};

}  // namespace nyx::source
