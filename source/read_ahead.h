#pragma once

#include <deque>
#include <vector>

#include "platform/thread.h"
#include "source/footage_file.h"

namespace nyx::source {

/// Reads a file's packets on a thread of its own and queues them, by stream, for the threads that
/// deliver them.
class ReadAhead {
  public:
    /// `file` belongs to this object's thread between Start and Finish.
    explicit ReadAhead(std::unique_ptr<FootageFile> file) : file_(std::move(file)) {}
    ~ReadAhead() { Finish(); }

    const FootageFile& file() const { return *file_; }

    /// Begins to read the wanted streams, one entry a stream, at `time`. Throws std::bad_alloc when
    /// there is no memory or no thread can start.
    void Start(REFERENCE_TIME time, const std::vector<bool>& wanted);

    /// Waits for the next packet of a stream. Returns `S_FALSE` at its end, also when the queues
    /// are full of other streams' packets; `kCancelled` after Cancel, or the failure that ended
    /// reading.
    [[nodiscard]] HRESULT Pop(std::size_t stream, Packet* packet);

    /// Drops a stream's packets, now and later.
    void Close(std::size_t stream);

    /// Ends reading and every wait; returns at once.
    void Cancel();

    /// Cancels, waits for the thread and drops the packets that are left.
    void Finish();

  private:
    struct Queue {
        std::deque<Packet> packets;
        std::size_t passed = 0;  ///< bytes of other streams since its last packet
        bool open = false;       ///< whether more may come
    };

    void Run(REFERENCE_TIME time) noexcept;
    bool Push(Packet packet);
    bool HasRoom();

    const std::unique_ptr<FootageFile> file_;
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
