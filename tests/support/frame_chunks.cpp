#include "tests/support/frame_chunks.h"

#include "platform/fourcc.h"

namespace nyx::test {
namespace {

void Append(std::vector<BYTE>* bytes, DWORD word) {
    for (int i = 0; i < 4; ++i) {
        bytes->push_back(static_cast<BYTE>(word >> (8 * i)));
    }
}

}  // namespace

std::vector<BYTE> WithInfoChunk(const std::vector<BYTE>& frame, const InfoChunk& info) {
    std::vector<BYTE> payload;
    for (const DWORD word : {DWORD{0}, DWORD{0}, info.pixelAspectX, info.pixelAspectY}) {
        Append(&payload, word);
    }
    if (info.fieldCode) {
        Append(&payload, FourCC("FIEL"));
        Append(&payload, sizeof(DWORD));
        Append(&payload, *info.fieldCode);
    }
    std::vector<BYTE> sample;
    Append(&sample, FourCC("INFO"));
    Append(&sample, static_cast<DWORD>(payload.size()));
    sample.insert(sample.end(), payload.begin(), payload.end());
    sample.insert(sample.end(), frame.begin(), frame.end());
    return sample;
}

}  // namespace nyx::test
