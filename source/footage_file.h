#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/byte_span.h"
#include "source/container_input.h"
#include "source/mpeg_groups.h"
#include "source/raw_dv.h"
#include "source/stream_format.h"

namespace nyx::source {

/// A frame of video or a run of audio, as stored in the file.
struct Packet {
    std::size_t stream = 0;  ///< into FootageFile::streams
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    int rate = 0;  ///< of audio, in frames per second; may differ from the stream's
    const AVDVProfile* system = nullptr;  ///< of a frame of raw DV whose system changes
    LibavPtr<AVPacket> data;
    std::size_t deferred = 0;         ///< bytes at the end that are still in the file
    std::int64_t deferredOffset = 0;  ///< their place in the file

    /// The bytes in memory.
    ByteSpan bytes() const { return {data->data, static_cast<std::size_t>(data->size)}; }
    /// Of the whole packet, in bytes.
    std::size_t size() const { return bytes().size() + deferred; }
};

/// A stream of video or audio that no pin can deliver.
struct UnsupportedStream {
    int index;         ///< in the file
    HRESULT reason;    ///< of failures.h
    std::string text;  ///< the reason in words, ASCII
};

/// A file of footage: the formats of its streams, and their packets in the order of time. Times
/// count from the first packet of any stream. Nothing in the file is trusted. One thread at a time,
/// except for Cancel, Copy, size and progress.
class FootageFile {
  public:
    /// Opens a file, once. Returns a failure of failures.h or of reading, or `E_OUTOFMEMORY`; the
    /// object then is unusable. A file whose tables take more than OpenBudget allows counts as
    /// damaged.
    [[nodiscard]] HRESULT Open(std::unique_ptr<ByteSource> bytes);

    /// Why Open refused a file with that result, in ASCII; empty where the result says it all.
    std::string Refusal(HRESULT result) const;

    /// The streams that can be delivered, video first; never empty after Open.
    const std::vector<StreamFormat>& streams() const { return streams_; }
    /// The file's other streams of video and audio.
    const std::vector<UnsupportedStream>& unsupported() const { return unsupported_; }
    /// From the first packet of any stream to the end of the last one; an estimate for a long file
    /// without times.
    REFERENCE_TIME duration() const;
    /// How far into the file it was read, and its size, in bytes. From any thread.
    std::int64_t progress() const { return input_.progress(); }
    std::int64_t size() const { return input_.size(); }

    /// What the container says. After Open, before a thread reads on.
    const AVFormatContext& container() const { return *context_; }
    /// A value of its metadata, of the file or else of the first stream that has it; "" without
    /// one. UTF-8.
    const char* Tag(const char* key) const;
    /// When a stream's first packet begins.
    REFERENCE_TIME BeginOf(const StreamFormat& stream) const {
        return av_sat_sub64(stream.start, origin_);
    }

    /// Where a file of raw DV changes its system.
    const RawDv& rawDv() const { return rawDv_; }

    /// Chooses the streams that ReadPacket delivers; one entry a stream.
    void Select(const std::vector<bool>& wanted);

    /// Lets ReadPacket continue with the packet of each stream that lasts at `time`.
    [[nodiscard]] HRESULT Seek(REFERENCE_TIME time);

    /// Reads the next packet. Returns `S_FALSE` at the end, `kCancelled`, `E_OUTOFMEMORY`, or why
    /// the file could not be read. Skips damaged and torn packets.
    [[nodiscard]] HRESULT ReadPacket(Packet* packet);

    /// Limits what the reading from here on may cost, to as much as OpenBudget allows for a small
    /// file. Beyond it, ReadPacket returns `S_FALSE`.
    void LimitReading() { input_.LimitReading(); }

    /// Copies a picture's packet of this file into a buffer of its size, with what was deferred.
    /// Returns `S_FALSE` when the file has become too short, or why it could not be read. From any
    /// thread, also while another one reads on.
    [[nodiscard]] HRESULT Copy(const Packet& packet, BYTE* to) const;

    /// Makes reading fail soon, now and later, until it is withdrawn. From any thread.
    void Cancel(bool cancelled) { input_.Cancel(cancelled); }
    bool isCancelled() const { return input_.isCancelled(); }

  private:
    [[nodiscard]] HRESULT OpenContainer();
    void ApplySelection();
    void ForgetPosition();
    [[nodiscard]] HRESULT Restart();
    bool SeekGroup(REFERENCE_TIME time);

    // find_streams.cpp
    [[nodiscard]] HRESULT FindStreams();
    [[nodiscard]] HRESULT ReadFirstFrames(std::vector<Packets>* seen);
    [[nodiscard]] HRESULT AddVideo(AVStream* stream, const Packets& seen, StreamFormat format);
    void AddAudio(AVStream* stream, StreamFormat format);
    [[nodiscard]] HRESULT CountFrames(const Packets& seen, StreamFormat* stream);
    void TimeRawDv(const Packets& seen);

    // read_packets.cpp
    [[nodiscard]] HRESULT ReadRaw(LibavPtr<AVPacket>* packet);
    int ReadChangingDv(AVPacket* packet);
    [[nodiscard]] HRESULT ReadDelivered(Packet* packet);
    [[nodiscard]] HRESULT FindDeferred(Packet* packet);
    [[nodiscard]] HRESULT Repeat(Packet* packet);
    std::int64_t TickOf(const StreamFormat& stream, const Packet& packet) const;
    void TimePicture(const StreamFormat& stream, Packet* packet);
    void TimeAudio(const StreamFormat& stream, Packet* packet);

    ContainerInput input_;
    LibavPtr<AVFormatContext> context_;  ///< reads input_
    std::vector<StreamFormat> streams_;
    std::vector<UnsupportedStream> unsupported_;
    MpegGroups groups_;  ///< of a file without times
    std::vector<bool> wanted_;
    std::vector<std::int64_t> next_;  ///< tick, or frame of audio, after a stream's last packet
    std::vector<int> rates_;          ///< of a stream's last packet of audio
    Packet shown_;                    ///< the first stream's last picture, of AVI
    Packet held_;                     ///< the packet that follows repeats of it
    RawDv rawDv_;
    std::int64_t nextFrame_ = 0;  ///< the next frame's place, in raw DV whose system changes
    REFERENCE_TIME origin_ = 0;   ///< the first packet's time in the container
    REFERENCE_TIME from_ = 0;     ///< packets that end by then are not delivered
    bool checkLanding_ = false;   ///< the first picture shows whether a seek went too far
};

}  // namespace nyx::source
