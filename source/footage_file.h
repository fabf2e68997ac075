#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/byte_span.h"
#include "source/byte_source.h"
#include "source/mpeg_groups.h"
#include "source/open_budget.h"
#include "source/raw_dv.h"
#include "source/stream_format.h"

namespace nyx::source {

/// A frame of video or a run of sound, as the file holds it.
struct Packet {
    std::size_t stream = 0;  ///< into FootageFile::streams
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    int rate = 0;  ///< of sound, in frames per second; may differ from the stream's
    const AVDVProfile* system = nullptr;  ///< of a frame of raw DV whose system changes
    LibavPtr<AVPacket> data;
    std::size_t left = 0;     ///< so many bytes more were left in the file
    std::int64_t leftAt = 0;  ///< at this place

    /// What is in memory.
    ByteSpan bytes() const { return {data->data, static_cast<std::size_t>(data->size)}; }
    /// Of the whole packet.
    std::size_t size() const { return bytes().size() + left; }
};

/// A stream that no pin can deliver.
struct LeftOut {
    int index;       ///< in the file
    HRESULT reason;  ///< of failures.h
};

/// A file of footage: its streams, described, and their packets in the order of time. Times count
/// from the first packet of any stream. Nothing in the file is trusted. One thread at a time, but
/// for Cancel and progress.
class FootageFile {
  public:
    FootageFile() = default;
    FootageFile(const FootageFile&) = delete;
    FootageFile& operator=(const FootageFile&) = delete;

    /// Opens a file once. The failures of failures.h, of reading, or `E_OUTOFMEMORY`; the object
    /// then is good for nothing. A file whose tables take more than OpenBudget allows is a damaged
    /// one.
    [[nodiscard]] HRESULT Open(std::unique_ptr<ByteSource> bytes);

    /// Why Open refused a file with that result, in words of ASCII; empty where the result says it.
    std::string Refusal(HRESULT result) const;

    /// What can be delivered, video first; never empty after Open.
    const std::vector<StreamFormat>& streams() const { return streams_; }
    /// The pictures and sound of the file that are missing in streams().
    const std::vector<LeftOut>& leftOut() const { return leftOut_; }
    /// From the first packet of any stream to the last one's end; for a file without times or an
    /// end nearby, an estimate.
    REFERENCE_TIME duration() const;
    /// How far into the file it was read, and its size, in bytes. From any thread.
    std::int64_t progress() const { return furthest_; }
    std::int64_t size() const { return size_; }

    /// Where a file of raw DV changes its system.
    const RawDv& rawDv() const { return rawDv_; }

    /// Leaves out the packets of streams that are not wanted; one entry a stream.
    void Select(const std::vector<bool>& wanted);

    /// Goes where Read continues with what lasts at `time`: of each stream the packet that holds
    /// it.
    [[nodiscard]] HRESULT Seek(REFERENCE_TIME time);

    /// The next packet. `S_FALSE` at the end; `kCancelled`; `E_OUTOFMEMORY`; or why the file could
    /// not be read. What is damaged or torn is left out.
    [[nodiscard]] HRESULT Read(Packet* packet);

    /// Copies a picture's packet of this file into a buffer of that size, from the file itself
    /// where it was left there: an uncompressed frame that went through memory of its own would
    /// take several times as long. `S_FALSE` when the file has become too short, or why it could
    /// not be read. From any thread, also while another reads on.
    [[nodiscard]] HRESULT Copy(const Packet& packet, BYTE* to);

    /// Makes reading fail soon, now and later, until it is withdrawn. From any thread.
    void Cancel(bool cancelled) { cancelled_ = cancelled; }

  private:
    static int ReadBytes(void* self, std::uint8_t* to, int count);
    static std::int64_t SeekBytes(void* self, std::int64_t offset, int whence);

    static int IsInterrupted(void* self);

    bool MayGoOn();
    [[nodiscard]] HRESULT OpenContainer();
    [[nodiscard]] HRESULT FindStreams();
    [[nodiscard]] HRESULT SeeFirstFrames(std::vector<Packets>* seen);
    [[nodiscard]] HRESULT CountFrames(const Packets& seen, StreamFormat* stream);
    void Forget();
    [[nodiscard]] HRESULT Restart();
    bool SeekGroup(REFERENCE_TIME time);
    void SkipUnwanted();
    [[nodiscard]] HRESULT ReadRaw(LibavPtr<AVPacket>* packet);
    int ReadChangingDv(AVPacket* packet);
    void TimeRawDv(const Packets& seen);
    [[nodiscard]] HRESULT FindLeft(Packet* packet);
    [[nodiscard]] HRESULT ReadLeft(const Packet& packet, BYTE* to);
    [[nodiscard]] HRESULT Repeat(Packet* packet);
    [[nodiscard]] HRESULT TakePacket(Packet* packet);
    std::int64_t TickOf(const StreamFormat& stream, const Packet& packet) const;
    std::int64_t FrameTicks(const StreamFormat& stream) const;
    void TimePicture(const StreamFormat& stream, Packet* packet);
    void TimeAudio(const StreamFormat& stream, Packet* packet);
    [[nodiscard]] HRESULT WantOfMemory() const;
    [[nodiscard]] HRESULT ResultOf(int error) const;

    std::unique_ptr<ByteSource> bytes_;
    std::atomic<std::int64_t> size_{0};
    std::atomic<std::int64_t> furthest_{0};
    OpenBudget budget_;
    std::int64_t position_ = 0;  ///< in the file
    bool readFailed_ = false;
    bool leaves_ = false;  ///< large packets in the file, as nobody looks into them
    /// What was left last: the library thinks that it is in memory.
    struct {
        const std::uint8_t* end = nullptr;
        int count = 0;
        std::int64_t position = 0;
    } left_;
    std::atomic<bool> cancelled_{false};
    LibavPtr<AVIOContext> input_;
    LibavPtr<AVFormatContext> context_;
    std::vector<StreamFormat> streams_;
    std::vector<LeftOut> leftOut_;
    MpegGroups groups_;  ///< of a file without times
    std::vector<bool> wanted_;
    std::vector<std::int64_t> next_;  ///< tick, or frame of sound, after a stream's last packet
    std::vector<int> rates_;          ///< of a stream's last packet of sound
    Packet shown_;                    ///< the first stream's last picture, of AVI
    Packet held_;                     ///< what comes behind repeats of it
    RawDv rawDv_;
    std::int64_t nextFrame_ = 0;  ///< the place of one, in raw DV whose system changes
    REFERENCE_TIME origin_ = 0;   ///< what the container calls the first packet's time
    REFERENCE_TIME from_ = 0;     ///< packets that end by then are not delivered
    bool checkLanding_ = false;   ///< the first picture shows whether a seek went too far
};

}  // namespace nyx::source
