#pragma once

#include <cstddef>
#include <string>

namespace nyx::host {

/// The data that a DV frame carries, without missing parts: "DV25, 525/60, 720x480, 30000/1001,
/// bottom field first, 4:3 (pixels 648:720); 2 channels, 48000 Hz, 16 bits, 1600 samples, unlocked;
/// timecode 01:02:03;04; recorded 2004-05-06 07:08:09". `frame` may have any size; a frame that no
/// decoder accepts is "not recognised".
std::string DescribeDvFrame(const void* frame, std::size_t size);

}  // namespace nyx::host
