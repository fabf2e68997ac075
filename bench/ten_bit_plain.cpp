#include <algorithm>
#include <cstring>

#include "bench/workload.h"

namespace nyx::bench {
namespace {

/// Where in a "YUY2" group of 6 pixels the twelve samples of a 10-bit group go.
constexpr int kPlaces[12] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10};

}  // namespace

void UnpackTenBitPlainly(const BYTE* groups, BYTE* yuy2, LONG width) {
    for (LONG x = 0; x < width; x += 6, groups += 16, yuy2 += 12) {
        const LONG samples = std::min<LONG>(width - x, 6) * 2;
        for (LONG i = 0; i < samples; ++i) {
            DWORD word;
            std::memcpy(&word, groups + i / 3 * 4, sizeof word);
            const DWORD sample = word >> i % 3 * 10 & 1023;
            yuy2[kPlaces[i]] = static_cast<BYTE>(std::min<DWORD>((sample + 2) >> 2, 255));
        }
    }
}

void PackTenBitPlainly(const BYTE* yuy2, BYTE* groups, LONG width) {
    for (LONG x = 0; x < width; x += 6, groups += 16, yuy2 += 12) {
        const LONG samples = std::min<LONG>(width - x, 6) * 2;
        DWORD words[4] = {};
        for (LONG i = 0; i < samples; ++i) {
            words[i / 3] |= DWORD{yuy2[kPlaces[i]]} << 2 << i % 3 * 10;
        }
        std::memcpy(groups, words, sizeof words);
    }
}

}  // namespace nyx::bench
