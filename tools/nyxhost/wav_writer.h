#pragma once

#include <windows.h>

#include <mmsystem.h>

#include <string>

#include "host/media_type.h"

namespace nyx::host {

/// Writes one stream of sound into a WAV file through the platform's multimedia files.
class WavWriter {
  public:
    /// Creates `path` (UTF-8), replacing an older file. `type` has a WAVEFORMATEX block. Failure
    /// kOutput.
    WavWriter(const std::string& path, const MediaType& type);
    ~WavWriter();
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    /// Appends the bytes of a sample, to the first one's start in silence: the file is in step with
    /// the clip. Failure kOutput, kTooLarge when the file would reach 2^31
    /// bytes.
    void Write(IMediaSample& sample);

    /// Closes the file with its lengths in place. Failure kOutput.
    void Finish();

  private:
    void WriteSilence(IMediaSample& sample);
    void Append(const char* data, LONG size);
    void Done(MMRESULT result);

    std::string path_;
    HMMIO file_;
    MMCKINFO riff_{};
    MMCKINFO data_{};
    LONGLONG rate_ = 0;           ///< frames of sound in a second
    std::size_t frameBytes_ = 0;  ///< of one of them
    LONG bytes_ = 0;
};

}  // namespace nyx::host
