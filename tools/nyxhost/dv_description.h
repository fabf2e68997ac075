#pragma once

#include <cstddef>
#include <string>

#include "json.h"

namespace nyx::host {

/// "top first", "bottom first" or "progressive" of a FormatRecord::fieldOrder; null for others.
Json FieldOrderName(LONG order);

/// The data that a DV frame of any `size` carries, as `dv` in docs/info-schema.json.
Json ReadDvFrame(const void* frame, std::size_t size);

/// Its picture and its audio in words: "DV25, 525/60, 720x480, 30000/1001, bottom first, 4:3
/// (pixels 648:720)" and "2 channels, 48000 Hz, 16 bits, 1600 samples, unlocked"; groups of
/// channels are separated by semicolons. Empty when unknown.
std::string DvPictureText(const Json& dv);
std::string DvAudioText(const Json& dv, bool withSamples);

/// Date and time of the recording, or the part that is known: "2004-05-06 07:08:09".
std::string DvRecordingText(const Json& dv);

/// All of it, without missing parts: "DV25, [...]; 2 channels, [...]; timecode 01:02:03;04;
/// recorded 2004-05-06 07:08:09; damaged blocks: 3". A frame that no decoder accepts is "not
/// recognised".
std::string DescribeDvFrame(const Json& dv);

}  // namespace nyx::host
