#include "engines/open/dv_marks.h"

#include "dv/dif_layout.h"

namespace nyx::open {
namespace {

void SetBits(BYTE& byte, unsigned mask, unsigned value) noexcept {
    byte = static_cast<BYTE>((byte & ~mask) | value);
}

}  // namespace

AVPixelFormat PlanesOf(const DvSignal& signal) {
    if (signal.signalType != 0) {
        return AV_PIX_FMT_YUV422P;
    }
    return signal.system == kEngineSystem50 && signal.variant == kEngineDv25 ? AV_PIX_FMT_YUV420P
                                                                             : AV_PIX_FMT_YUV411P;
}

void MarkFrame(const DvSignal& signal, BYTE* frame) {
    constexpr std::size_t kSourcePack = VauxPackOffset(30 + 9);  // pack 9 of the third VAUX block
    constexpr unsigned kSystemBit = 0x80;
    SetBits(frame[kDifBlockIdBytes], kSystemBit, signal.system == kEngineSystem50 ? kSystemBit : 0);
    SetBits(frame[kDifBlockIdBytes + 1], 0x07, signal.applicationId);
    SetBits(frame[kSourcePack + kPc3], 0x1F, signal.signalType);
}

void SetApplicationId(const DvSignal& signal, BYTE* frame) {
    constexpr std::size_t kFirstIdByte = kDifBlockIdBytes + 1;  // APT, then AP1 to AP3
    const unsigned id = signal.applicationId;
    for (LONG at = 0; at < signal.frameBytes; at += LONG{kDifSequenceBytes}) {
        BYTE* sequence = frame + at;
        for (std::size_t i = 0; i < 4; ++i) {
            SetBits(sequence[kFirstIdByte + i], 0x07, id);
        }
        // The first sync block of either subcode block repeats AP3 and APT in its ID.
        SetBits(sequence[SyncBlockOffset(0)], 0x70, id << 4);
        SetBits(sequence[SyncBlockOffset(6)], 0x70, id << 4);
    }
}

}  // namespace nyx::open
