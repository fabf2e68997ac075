#include "source/sample_queue.h"

#include <utility>

namespace nyx::source {

void SampleQueue::Open() {
    const std::lock_guard lock(mutex_);
    closed_ = false;
    ended_ = S_OK;
}

bool SampleQueue::Push(FilledSample filled) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || !waiting_.sample; });
    if (closed_) {
        return false;
    }
    waiting_ = std::move(filled);
    changed_.notify_all();
    return true;
}

void SampleQueue::End(HRESULT reason) {
    const std::lock_guard lock(mutex_);
    ended_ = reason;
    changed_.notify_all();
}

HRESULT SampleQueue::Pop(FilledSample* filled) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return waiting_.sample || ended_ != S_OK; });
    *filled = std::exchange(waiting_, {});
    changed_.notify_all();
    return filled->sample ? S_OK : ended_;
}

void SampleQueue::Close() {
    FilledSample dropped;  // released without the lock: that may call the allocator's owner
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped = std::exchange(waiting_, {});
    changed_.notify_all();
}

}  // namespace nyx::source
