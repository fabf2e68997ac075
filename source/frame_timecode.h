#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/footage_info.h"
#include "source/footage_file.h"

namespace nyx::source {

/// The timecode that counts on from a track's first one, for the picture at `time`.
NyxTimecode CountTimecode(const TimecodeTrack& track, REFERENCE_TIME time);

/// Reads the subcode of single DV frames through a handle and a container reader of its own, which
/// leave the file's playback alone. One thread at a time.
class FrameTimecodes {
  public:
    /// The timecode in the frame at `time`; nothing for a frame without one, or when the file can
    /// no longer be read. Opens the file the first time. Throws std::bad_alloc.
    std::optional<NyxTimecode> Read(const std::wstring& path, REFERENCE_TIME time);

  private:
    std::unique_ptr<FootageFile> file_;
};

}  // namespace nyx::source
