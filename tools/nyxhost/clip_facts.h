#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "clip_options.h"
#include "container_facts.h"
#include "dv_description.h"

namespace nyx::host {

/// What a video type and, for a decoded picture, its sample state.
struct PictureFacts {
    LONG fieldOrder = -1;               ///< as FormatRecord::fieldOrder; -1 unspecified
    DWORD flags = 0;                    ///< AMINTERLACE_*
    std::string aspect;                 ///< "4:3"; empty when unspecified
    std::optional<bool> field1First{};  ///< the sample's own flag, when it has flags
    bool newType = false;               ///< the type came with this picture
};
PictureFacts PictureFactsOf(const MediaType& type);

/// A frame of a clip.
struct FrameFacts {
    LONG bytes = 0;
    bool isKey = false;
    std::optional<DvFacts> dv{};
    std::optional<PictureFacts> picture{};  ///< when a decoder has delivered it
    std::optional<HRESULT> refused{};       ///< the decoder's result when it has not
};

/// A pin of the clip's audio.
struct AudioFacts {
    MediaType type;
    std::vector<double> peaks;  ///< per channel, in dB below full scale
};

/// A clip and the frames selected of it.
struct ClipFacts {
    std::string path;
    std::string description;  ///< as DescribeVideo
    ContainerFacts container;
    MediaType video;
    LONG frameCount = 0;  ///< of the whole clip
    REFERENCE_TIME duration = 0;
    std::vector<AudioFacts> audio{};
    std::map<LONG, FrameFacts> frames{};
    std::string decoder{};  ///< name; empty without one
    std::string problem{};  ///< why there is no decoder
};

/// Called with the number and the data of each frame.
using OnFrameFacts = std::function<void(LONG index, FrameFacts facts)>;

/// Reads the frames and the audio beside them without a decoder. `frames` stays empty.
ClipFacts ReadClip(const ClipOptions& options, const OnFrameFacts& onFrame);

/// Decodes the frames and adds decoder and pictures to `facts`. Without a decoder the problem is
/// noted. Warns of frames that are lost. Returns the exit code for all of it.
ExitCode ReadPictures(const ClipOptions& options, ClipFacts* facts);

}  // namespace nyx::host
