#pragma once

#include <functional>

#include "host/media_type.h"
#include "output_file.h"

namespace nyx::host {

/// Silence before the first sample of a stream, up to the sample's start: calls `write` with runs
/// of zeroes of whole audio frames, at most a second each.
void WriteLead(IMediaSample& first, const WAVEFORMATEX& format,
               const std::function<void(const BYTE* zeroes, DWORD size)>& write);

/// Writes one audio stream into a WAV file, which is deleted unless Finish() completes it, or to
/// the standard output, where both lengths are 2^32 - 1 for unknown, as other programs write them.
class WavWriter {
  public:
    /// Creates `path` (UTF-8), replacing an older file, or kStandardOutput. `type` has a
    /// WAVEFORMATEX block. Failure kOutput.
    WavWriter(const std::string& path, const MediaType& type);

    /// Appends the bytes of a sample. Silence precedes the first one up to its start time, so that
    /// the file is in step with the clip. Failure kOutput, or kTooLarge when a file would reach
    /// 2^31 bytes.
    void Write(IMediaSample& sample);

    /// Closes the file with its lengths in place. Failure kOutput.
    void Finish();

  private:
    void Append(const void* data, DWORD size);

    OutputFile file_;
    const MediaType type_;
    DWORD headBytes_ = 0;      ///< before the audio
    std::uint64_t bytes_ = 0;  ///< of the audio
};

}  // namespace nyx::host
