#pragma once

#include <windows.h>

// mmreg.h wants windows.h first.
#include <mmreg.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/unique_handle.h"

namespace nyx::host {

/// Writes encoded frames as the one video stream of an AVI file, with audio streams beside it. The
/// file is one RIFF chunk, which every reader knows, and goes on in further ones with the indices
/// of OpenDML AVI 1.02 where that is full. It is deleted unless Finish() completes it. For one
/// thread at a time. Methods may throw std::bad_alloc.
class AviWriter {
  public:
    /// The largest RIFF chunk in units of 2^20 bytes: below 2^31 bytes, since many readers have
    /// signed 32-bit offsets.
    static constexpr DWORD kRiffMegabytes = 2047;

    /// A RIFF chunk has at most `riffMegabytes`, and at least one frame.
    explicit AviWriter(DWORD riffMegabytes = kRiffMegabytes) : riffBytes_(riffMegabytes << 20) {}
    ~AviWriter();
    AviWriter(const AviWriter&) = delete;
    AviWriter& operator=(const AviWriter&) = delete;

    /// Creates `path`, replacing an older file. Frames per second are `rate` / `scale`; the
    /// header's biSizeImage is the maximum frame size.
    [[nodiscard]] HRESULT Create(const std::wstring& path, const BITMAPINFOHEADER& header,
                                 DWORD rate, DWORD scale);

    /// Adds an audio stream, before the first frame or audio. `bytes` is the size of the format
    /// with its extra data.
    void AddAudio(const WAVEFORMATEX& format, DWORD bytes);

    /// Appends one key frame. HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE) when the indices are full,
    /// after 256 RIFF chunks.
    [[nodiscard]] HRESULT Write(const void* frame, LONG size);

    /// Appends whole audio frames to stream `index` in the order of AddAudio; same failures.
    [[nodiscard]] HRESULT WriteAudio(std::size_t index, const void* data, LONG size);

    /// Writes the index and the header and closes the file. A failure when the file is incomplete.
    [[nodiscard]] HRESULT Finish();

  private:
    /// An index chunk of one RIFF chunk, as the index of indices lists it.
    struct IndexPlace {
        unsigned long long offset;
        DWORD bytes;
        DWORD duration;  ///< in the stream's units
    };
    struct Stream {
        DWORD type;
        DWORD handler;
        DWORD chunk;  ///< the id of its chunks
        DWORD scale;
        DWORD rate;
        DWORD sampleSize;    ///< bytes of an audio frame; 0 for video
        DWORD corner;        ///< width and height, as two words
        std::string format;  ///< bytes of the format chunk
        DWORD length = 0;    ///< frames, of video or audio
        DWORD largest = 0;   ///< bytes of the largest chunk
        std::vector<IndexPlace> indices;
    };
    struct Chunk {
        std::size_t stream;
        DWORD offset;  ///< from the word "movi" to the chunk
        DWORD bytes;
        DWORD duration;
    };

    std::string Header() const;
    std::string StreamHeader(const Stream& stream) const;
    [[nodiscard]] HRESULT WriteTo(std::size_t stream, const void* data, LONG size, DWORD duration);
    [[nodiscard]] HRESULT BeginRiff();
    [[nodiscard]] HRESULT EndRiff();
    [[nodiscard]] HRESULT WriteIndex(std::size_t stream);
    [[nodiscard]] HRESULT WriteAt(unsigned long long place, std::string_view bytes);

    const DWORD riffBytes_;
    std::wstring path_;
    UniqueHandle file_;
    std::vector<Stream> streams_;
    std::vector<Chunk> chunks_;    ///< of the RIFF chunk being written
    unsigned long long end_ = 0;   ///< bytes of the file
    unsigned long long riff_ = 0;  ///< where the RIFF chunk begins, and its word "movi"
    unsigned long long movi_ = 0;
    DWORD firstFrames_ = 0;  ///< frames of the first RIFF chunk
};

}  // namespace nyx::host
