#pragma once

/// @file
/// All codecs but those of DV, for tests of what they have in common.

#include "codecs/lossless_codec.h"
#include "codecs/mpeg_intra_codec.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/zeta2_codec.h"
#include "codecs/zeta_codec.h"
#include "tests/support/frames.h"
#include "tests/support/settings.h"

namespace nyx::test {

enum CodecNumber { kZeta, kZeta2, kLossless, kMpeg, kTenBit, kCodecs };
constexpr const char* kFourCCs[kCodecs] = {"QZTA", "QZT2", "QLLC", "QMIC", "Q210"};

inline DWORD FourCCOf(int codec) {
    DWORD fourcc;
    std::memcpy(&fourcc, kFourCCs[codec], sizeof(fourcc));
    return fourcc;
}

/// One of each. The constructors read the settings and load the engines.
struct Codecs {
    CZetaCodec zeta;
    CZeta2Codec zeta2;
    CLosslessCodec lossless;
    CMpegIntraCodec mpeg;
    CTenBitCodec tenBit;
    ICodec* const all[kCodecs] = {&zeta, &zeta2, &lossless, &mpeg, &tenBit};
};

inline std::wstring SettingsKey(int codec) {
    const char* name = kFourCCs[codec];
    return L"Software\\Veltro\\Codec\\" + std::wstring(name, name + 4);
}

}  // namespace nyx::test
