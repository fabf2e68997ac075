#include "engines/open/parallel.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <new>

#include "codecs/fault_guard.h"
#include "platform/thread.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // this library, by the linker

namespace nyx::open {
namespace {

/// Fewer parts are done before a thread of the pool comes, some 30 microseconds after it is asked.
constexpr int kMinParts = 8;

/// Parts of one call. Lives until the last thread that knows it has released it: a thread of the
/// pool may come when all is done.
class Job {
  public:
    Job(void (*part)(void* context, int index), void* context, int count, int threads)
        : part_(part),
          context_(context),
          count_(count),
          run_(std::max(1, count / (threads * kRunsPerThread))) {}

    /// Works on the parts that are left. Without effect once the job has ended.
    void Join() {
        {
            const std::lock_guard hold(mutex_);
            if (ended_) {
                return;
            }
            ++workers_;
        }
        // The guard leaves no MMX state behind either, which libavcodec may have used.
        if (FAILED(Guarded([this] { Work(); }))) {
            raised_ = true;
        }
        const std::lock_guard hold(mutex_);
        --workers_;
        left_.notify_all();
    }

    /// Waits for the threads that work on it; later ones find it ended. True when no part raised.
    bool End() {
        std::unique_lock hold(mutex_);
        ended_ = true;
        left_.wait(hold, [this] { return workers_ == 0; });
        return !raised_;
    }

    void AddRef() { ++references_; }
    void Release() {
        if (--references_ == 0) {
            delete this;
        }
    }

  private:
    /// Threads take neighbouring parts, some times each, so that none waits long for the last.
    static constexpr int kRunsPerThread = 32;

    void Work() {
        for (int first; !raised_ && (first = next_.fetch_add(run_)) < count_;) {
            for (int i = first; i < std::min(first + run_, count_); ++i) {
                part_(context_, i);
            }
        }
    }

    void (*const part_)(void* context, int index);
    void* const context_;
    const int count_;
    const int run_;
    std::atomic<int> references_{1};
    std::atomic<int> next_{0};
    std::atomic<bool> raised_{false};
    Mutex mutex_;  ///< for the two below
    bool ended_ = false;
    int workers_ = 0;
    ConditionVariable left_;
};

/// Calls that the pool has not begun yet: they do not pile up while its threads are busy.
constinit std::atomic<int> waiting{0};

void CALLBACK WorkInPool(PTP_CALLBACK_INSTANCE, void* context) {
    --waiting;
    auto* job = static_cast<Job*>(context);
    job->Join();
    job->Release();
}

/// Asks the pool for threads. This library stays loaded until they have returned.
void CallPool(Job& job, int threads) {
    TP_CALLBACK_ENVIRON environment;
    InitializeThreadpoolEnvironment(&environment);
    SetThreadpoolCallbackLibrary(&environment, &__ImageBase);
    for (int i = 0; i < threads && waiting < threads; ++i) {
        job.AddRef();
        ++waiting;
        if (!TrySubmitThreadpoolCallback(&WorkInPool, &job, &environment)) {
            --waiting;
            job.Release();
        }
    }
    DestroyThreadpoolEnvironment(&environment);
}

}  // namespace

int CountThreads(int limit) {
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    GetProcessAffinityMask(GetCurrentProcess(), &process, &system);
    return std::max(1, std::min(limit, std::popcount(process)));
}

bool RunParts(int threads, int count, void (*part)(void* context, int index), void* context) {
    threads = count < kMinParts ? 1 : std::min(threads, count);
    auto* job = new (std::nothrow) Job(part, context, count, threads);
    if (!job) {
        return false;
    }
    CallPool(*job, threads - 1);
    job->Join();
    const bool done = job->End();
    job->Release();
    return done;
}

}  // namespace nyx::open
