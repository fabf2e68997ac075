#pragma once

#include <string>

#include "clip_reader.h"
#include "dv_description.h"

namespace nyx::host {

/// Whether the stream is DV under one of our decoders' codes.
bool IsDv(const ClipReader& clip);

/// Lets a clip of one of DV's published codes play under ours: its first frame tells which, and its
/// size. Others, and clips whose first frame is no DV that a decoder takes, stay as they are.
void PlayDvAsOurs(ClipReader& clip);

/// "DV25, 525/60, 720x480, 30000/1001, bottom field first, 4:3 (pixels 648:720); 2 channels, ...;
/// timecode 01:02:03:04; recorded 2004-05-06 07:08:09" without what the frame does not tell.
std::string DvFrameText(const DvFrameDescription& frame);

}  // namespace nyx::host
