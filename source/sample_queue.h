#pragma once

#include <memory>
#include <utility>

#include "platform/com.h"
#include "platform/dshow.h"
#include "platform/thread.h"
#include "source/stream_format.h"

namespace nyx::source {

/// A filled sample on its way downstream.
struct FilledSample {
    ComPtr<IMediaSample> sample;
    REFERENCE_TIME start = 0;                    ///< in the file
    std::shared_ptr<const StreamFormat> format;  ///< of the sample
};

/// Passes samples from the thread that fills them to the one that delivers them, one at a time, so
/// that the next is filled while downstream works.
class SampleQueue {
  public:
    ~SampleQueue() { Close(); }

    /// Lets an empty queue take samples.
    void Open() {
        const std::lock_guard lock(mutex_);
        closed_ = false;
        ended_ = S_OK;
    }
    /// Waits for room; false once the queue is closed.
    bool Push(FilledSample filled) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return closed_ || !waiting_.sample; });
        if (!closed_) {
            waiting_ = std::move(filled);
            changed_.notify_all();
        }
        return !closed_;
    }
    /// Says that no sample follows, for a reason: `S_FALSE` at the stream's end.
    void End(HRESULT reason) {
        const std::lock_guard lock(mutex_);
        ended_ = reason;
        changed_.notify_all();
    }
    /// Waits for the next sample. Returns End's reason when there is none.
    [[nodiscard]] HRESULT Pop(FilledSample* filled) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return waiting_.sample || ended_ != S_OK; });
        *filled = std::exchange(waiting_, {});
        changed_.notify_all();
        return filled->sample ? S_OK : ended_;
    }
    /// Drops the waiting sample and ends every wait of Push.
    void Close() {
        FilledSample dropped;  // released without the lock: that may call the allocator's owner
        const std::lock_guard lock(mutex_);
        closed_ = true;
        dropped = std::exchange(waiting_, {});
        changed_.notify_all();
    }

  private:
    Mutex mutex_;
    ConditionVariable changed_;
    FilledSample waiting_;
    bool closed_ = true;
    HRESULT ended_ = S_OK;
};

}  // namespace nyx::source
