#pragma once

#include "platform/com.h"
#include "platform/dshow.h"
#include "platform/thread.h"
#include "source/stream_format.h"

namespace nyx::source {

/// A filled sample on its way downstream.
struct FilledSample {
    ComPtr<IMediaSample> sample;
    REFERENCE_TIME start = 0;              ///< in the file
    const StreamFormat* format = nullptr;  ///< of the sample; not owned
};

/// Passes samples from the thread that fills them to the one that delivers them, one at a time, so
/// that the next is filled while downstream works.
class SampleQueue {
  public:
    ~SampleQueue() { Close(); }

    /// Lets an empty queue take samples.
    void Open();
    /// Waits for room; false once the queue is closed.
    bool Push(FilledSample filled);
    /// Says that no sample follows, for a reason: `S_FALSE` at the stream's end.
    void End(HRESULT reason);
    /// Waits for the next sample. Returns End's reason when there is none.
    [[nodiscard]] HRESULT Pop(FilledSample* filled);
    /// Drops the waiting sample and ends every wait of Push.
    void Close();

  private:
    Mutex mutex_;
    ConditionVariable changed_;
    FilledSample waiting_;
    bool closed_ = true;
    HRESULT ended_ = S_OK;
};

}  // namespace nyx::source
