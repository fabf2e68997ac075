#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "dv/format_table.h"
#include "platform/footage_info.h"

namespace nyx::host {

/// Channels of a DV frame that are recorded alike.
struct DvAudio {
    LONG channels = 0;
    LONG samplesPerSecond = 0;
    LONG bits = 0;
    LONG samples = 0;  ///< of each channel in this frame; 0 unknown
    bool locked = false;
};

/// The data that a DV frame carries. Texts are empty where it has none.
struct DvFacts {
    bool recognised = false;  ///< a decoder accepts the frame
    FormatRecord format;      ///< FourCC -1 unless system, type and aspect are known
    std::vector<DvAudio> audio;
    std::optional<NyxTimecode> timecode;
    std::string date;                       ///< of the recording: "2004-05-06"
    std::string time;                       ///< "07:08:09"
    std::optional<long long> recordedAt{};  ///< date and time in seconds after 1970
    std::size_t damagedBlocks = 0;  ///< video blocks that the recorder marked as wrong or concealed
};

/// Reads the `size` bytes at `frame`, any number.
DvFacts ReadDvFacts(const void* frame, std::size_t size);

/// The name of the variant, such as "DVCPRO HD 720p", and the nominal aspect, "4:3" or "16:9", of a
/// known format.
const char* DvVariantName(const FormatRecord& format);
const char* DvAspectName(const FormatRecord& format);

/// "top first", "bottom first" or "progressive" of a FormatRecord::fieldOrder; empty for others.
const char* FieldOrderName(LONG order);

/// "DV25, 525/60, 720x480, 30000/1001, bottom first, 4:3 (pixels 648:720)"; empty when unknown.
std::string DvPictureText(const DvFacts& facts);

/// "2 channels, 48000 Hz, 16 bits, 1600 samples, unlocked"; groups are separated by semicolons.
/// `samples` 0 leaves their number out.
std::string DvAudioText(const std::vector<DvAudio>& audio);

/// "2004-05-06 07:08:09", or the part of it that is known.
std::string DvRecordingText(const DvFacts& facts);

/// All of it, without missing parts: "DV25, [...]; 2 channels, [...]; timecode 01:02:03;04;
/// recorded 2004-05-06 07:08:09; 3 damaged blocks". Begins with "not recognised" when no decoder
/// accepts the frame.
std::string DescribeDvFrame(const DvFacts& facts);

}  // namespace nyx::host
