/// Any bytes as a DIF frame: whole packs are inside it, and the numbers of a recognised one, which
/// a decoder uses, are valid.

#include "dv/dif_parser.h"
#include "fuzz/byte_source.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using nyx::fuzz::Require;
    const auto requireInside = [&](const BYTE* pack) {
        Require(!pack || (pack >= data && pack + nyx::kPackBytes <= data + size));
    };
    nyx::CLvtDifParser parser;
    const HRESULT result = parser.Parse(data, size);
    const nyx::DifState& state = parser.State();
    for (const BYTE* pack :
         {state.videoSource, state.videoControl, state.videoRecDate, state.videoRecTime,
          state.frameRate, state.audioControl, state.audioRecDate, state.audioRecTime,
          state.timecode, state.binaryGroup}) {
        requireInside(pack);
    }
    for (const BYTE* pack : state.audioSource) {
        requireInside(pack);
    }
    const nyx::FormatRecord& format = state.format;
    Require(FAILED(result) ||
            (format.fourCC != -1 && format.formatCode >= 0 && format.pixelAspectX >= 1 &&
             format.pixelAspectY >= 1 && format.codedWidth >= 1 && format.codedHeight >= 1 &&
             (format.systemRate == 50 || format.systemRate == 60)));
    return 0;
}
