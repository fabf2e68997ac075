#pragma once

#include "baseclasses/platform.h"
#include "platform/thread.h"
#include "source/stream_format.h"

namespace nyx::source {

/// A sample on its way, whose reference goes with it.
struct FilledSample {
    IMediaSample* sample = nullptr;
    REFERENCE_TIME start = 0;              ///< in the file
    const StreamFormat* format = nullptr;  ///< what the sample is of; not owned
};

/// Hands samples from the thread that fills them to the one that delivers them, one at a time, so
/// that the next is filled while downstream works.
class SampleQueue {
  public:
    SampleQueue() = default;
    ~SampleQueue() { Close(); }
    SampleQueue(const SampleQueue&) = delete;
    SampleQueue& operator=(const SampleQueue&) = delete;

    /// Empty and open.
    void Open();
    /// Waits for room and takes over the sample; releases it and gives false once closed.
    bool Put(FilledSample filled);
    /// No more will be put, for a reason: `S_FALSE` at the stream's end.
    void End(HRESULT reason);
    /// Waits for the next sample; the reason of the end when there is none.
    [[nodiscard]] HRESULT Take(FilledSample* filled);
    /// Drops what waits and ends every wait of Put.
    void Close();

  private:
    Mutex mutex_;
    ConditionVariable changed_;
    FilledSample waiting_;
    bool closed_ = true;
    HRESULT ended_ = S_OK;
};

}  // namespace nyx::source
