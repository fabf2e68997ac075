#pragma once

#include <deque>
#include <vector>

#include "platform/thread.h"
#include "source/footage_file.h"

namespace nyx::source {

/// Reads a file's packets on a thread of its own and keeps them, by stream, for the threads that
/// deliver them.
class ReadAhead {
  public:
    /// `file` outlives this object and belongs to its thread between Start and Finish.
    explicit ReadAhead(FootageFile* file) : file_(file) {}
    ~ReadAhead() { Finish(); }
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// Begins to read the wanted streams, one entry a stream, at `time`. Throws when there is no
    /// memory or can be no thread.
    void Start(REFERENCE_TIME time, const std::vector<bool>& wanted);

    /// Waits for the next packet of a stream. `S_FALSE` at its end, also when what could be read
    /// ahead of the other streams holds none; `kCancelled` after Cancel, or the failure that ended
    /// reading.
    [[nodiscard]] HRESULT Next(std::size_t stream, Packet* packet);

    /// Says that nobody takes the packets of a stream any more.
    void Close(std::size_t stream);

    /// Ends reading and every wait; returns at once.
    void Cancel();

    /// Cancels and waits for the thread. What is not taken is dropped.
    void Finish();

  private:
    struct Queue {
        std::deque<Packet> packets;
        std::size_t passed = 0;  ///< bytes of other streams since its last packet
        bool open = false;       ///< whether more may come
    };

    void Run(REFERENCE_TIME time);
    bool Put(Packet packet);
    bool FindRoom();

    FootageFile* const file_;
    Thread thread_;
    Mutex mutex_;
    ConditionVariable changed_;
    std::vector<Queue> queues_;
    std::size_t bytes_ = 0;  ///< in all queues
    bool cancelled_ = false;
    bool ended_ = false;
    HRESULT result_ = S_OK;  ///< once ended
};

}  // namespace nyx::source
