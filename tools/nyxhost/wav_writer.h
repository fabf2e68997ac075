#pragma once

#include "host/media_type.h"
#include "output_file.h"

namespace nyx::host {

/// Writes one stream of sound into a WAV file, which is deleted unless it is finished.
class WavWriter {
  public:
    /// Creates `path` (UTF-8), replacing an older file. `type` has a WAVEFORMATEX block. Failure
    /// kOutput.
    WavWriter(const std::string& path, const MediaType& type);

    /// Appends the bytes of a sample, to the first one's start in silence: the file is in step with
    /// the clip. Failure kOutput, kTooLarge when the file would reach 2^31
    /// bytes.
    void Write(IMediaSample& sample);

    /// Closes the file with its lengths in place. Failure kOutput.
    void Finish();

  private:
    void WriteSilence(IMediaSample& sample);
    void Append(const void* data, DWORD size);

    OutputFile file_;
    LONGLONG rate_ = 0;           ///< frames of sound in a second
    std::size_t frameBytes_ = 0;  ///< of one of them
    DWORD headBytes_ = 0;         ///< up to the sound
    DWORD bytes_ = 0;             ///< of the sound
};

}  // namespace nyx::host
