#include "engines/open/dv_signals.h"

#include "dv/dif_layout.h"
#include "dv/dv_engine.h"

namespace nyx::open {
namespace {

constexpr LONG kVariantMask = 0xFF;
constexpr AVRational k60 = {1001, 30000};
constexpr AVRational k50 = {1, 25};

constexpr DvSignal kSignals[] = {
    {kEngineSystem60 | kEngineDv25, 720, 480, 120000, AV_PIX_FMT_YUV411P, k60, 0x00, 0},
    {kEngineSystem50 | kEngineDv25, 720, 576, 144000, AV_PIX_FMT_YUV420P, k50, 0x00, 0},
    {kEngineSystem60 | kEngineDvcPro25, 720, 480, 120000, AV_PIX_FMT_YUV411P, k60, 0x00, 1},
    {kEngineSystem50 | kEngineDvcPro25, 720, 576, 144000, AV_PIX_FMT_YUV411P, k50, 0x00, 1},
    {kEngineSystem60 | kEngineDvcPro50, 720, 480, 240000, AV_PIX_FMT_YUV422P, k60, 0x04, 1},
    {kEngineSystem50 | kEngineDvcPro50, 720, 576, 288000, AV_PIX_FMT_YUV422P, k50, 0x04, 1},
    {kEngineSystem60 | kEngineDvcProHd1080, 1280, 1080, 480000, AV_PIX_FMT_YUV422P, k60, 0x14, 1},
    {kEngineSystem50 | kEngineDvcProHd1080, 1440, 1080, 576000, AV_PIX_FMT_YUV422P, k50, 0x14, 1},
    {kEngineSystem60 | kEngineDvcProHd720Decode,
     960,
     720,
     240000,
     AV_PIX_FMT_YUV422P,
     {1001, 60000},
     0x18,
     1},
    {kEngineSystem50 | kEngineDvcProHd720Decode,
     960,
     720,
     288000,
     AV_PIX_FMT_YUV422P,
     {1, 50},
     0x18,
     1},
};

void SetBits(BYTE& byte, unsigned mask, unsigned value) {
    byte = static_cast<BYTE>((byte & ~mask) | value);
}

}  // namespace

const DvSignal* FindSignal(LONG flags) {
    LONG variant = flags & kVariantMask;
    if ((variant & ~(kEngineSystem60 | kEngineSystem50)) == kEngineDvcProHd720Encode) {
        variant += kEngineDvcProHd720Decode - kEngineDvcProHd720Encode;
    }
    for (const DvSignal& signal : kSignals) {
        if (signal.variant == variant) {
            return &signal;
        }
    }
    return nullptr;
}

void MarkFrame(const DvSignal& signal, BYTE* frame) {
    constexpr std::size_t kSourcePack = VauxPackOffset(30 + 9);  // pack 9 of the third VAUX block
    constexpr unsigned kSystemBit = 0x80;
    SetBits(frame[kDifBlockIdBytes], kSystemBit,
            (signal.variant & kEngineSystem50) != 0 ? kSystemBit : 0);
    SetBits(frame[kDifBlockIdBytes + 1], 0x07, signal.applicationId);
    SetBits(frame[kSourcePack + kPc3], 0x1F, signal.signalType);
}

void SetApplicationId(const DvSignal& signal, BYTE* frame) {
    constexpr std::size_t kFirstIdByte = kDifBlockIdBytes + 1;  // APT, then AP1 to AP3
    const unsigned id = signal.applicationId;
    for (std::size_t at = 0; at < signal.frameBytes; at += kDifSequenceBytes) {
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
