#include <array>
#include <cstdint>
#include <cstdlib>

#include "dv/dif_parser.h"

namespace {

/// Ends the run when a pack does not lie inside the frame with all its bytes.
void RequireInside(const BYTE* pack, const std::uint8_t* data, std::size_t size) {
    if (pack && (pack < data || pack + nyx::kPackBytes > data + size)) {
        std::abort();
    }
}

/// A recognised frame is one that a decoder acts on: its numbers have to make sense.
void RequireSound(const nyx::FormatRecord& format) {
    if (format.fourCC == -1 || format.formatCode < 0 || format.pixelAspectX < 1 ||
        format.pixelAspectY < 1 || format.codedWidth < 1 || format.codedHeight < 1 ||
        (format.systemRate != 50 && format.systemRate != 60)) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    nyx::CLvtDifParser parser;
    const HRESULT result = parser.Parse(data, size);
    const nyx::DifState& state = parser.State();
    const std::array<const BYTE*, 10> packs = {
        state.videoSource, state.videoControl, state.videoRecDate, state.videoRecTime,
        state.frameRate,   state.audioControl, state.audioRecDate, state.audioRecTime,
        state.timecode,    state.binaryGroup};
    for (const BYTE* pack : packs) {
        RequireInside(pack, data, size);
    }
    for (const BYTE* pack : state.audioSource) {
        RequireInside(pack, data, size);
    }
    if (SUCCEEDED(result)) {
        RequireSound(state.format);
    }
    return 0;
}
