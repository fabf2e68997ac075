#pragma once

/// @file
/// Thread, mutex and condition variable on the Win32 API. The compiler's own ones need its thread
/// library, which leaves handles in the host at each unload (platform/runtime.cpp).

#include <process.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "platform/unique_handle.h"

namespace nyx {

/// One thread at a time. Join it before it is started again or destroyed.
class Thread {
  public:
    Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// `body` must not throw. Throws std::bad_alloc when there is no memory or can be no thread.
    void Start(std::function<void()> body) {
        auto owned = std::make_unique<std::function<void()>>(std::move(body));
        handle_.reset(
            reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Run, owned.get(), 0, nullptr)));
        if (!handle_) {
            throw std::bad_alloc();
        }
        owned.release();
    }
    bool joinable() const noexcept { return handle_ != nullptr; }
    /// Returns at once where none was started.
    void join() noexcept {
        if (handle_) {
            WaitForSingleObject(handle_.get(), INFINITE);
            handle_.reset();
        }
    }

  private:
    static unsigned __stdcall Run(void* body) {
        const std::unique_ptr<std::function<void()>> owned(
            static_cast<std::function<void()>*>(body));
        (*owned)();
        return 0;
    }

    UniqueHandle handle_;
};

/// For std::lock_guard and std::unique_lock. Not recursive.
class Mutex {
  public:
    void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

  private:
    friend class ConditionVariable;
    SRWLOCK lock_ = SRWLOCK_INIT;
};

/// As std::condition_variable, over Mutex.
class ConditionVariable {
  public:
    template <class Predicate>
    void wait(std::unique_lock<Mutex>& lock, Predicate fulfilled) {
        while (!fulfilled()) {
            SleepConditionVariableSRW(&condition_, &lock.mutex()->lock_, INFINITE, 0);
        }
    }
    void notify_all() noexcept { WakeAllConditionVariable(&condition_); }

  private:
    CONDITION_VARIABLE condition_ = CONDITION_VARIABLE_INIT;
};

}  // namespace nyx
