#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>

#include "platform/win_types.h"

namespace nyx::fuzz {

/// The fuzzer's bytes as numbers and blocks. Numbers are taken from the end, so that an input is a
/// real frame followed by the few bytes that steer the call.
using ByteSource = FuzzedDataProvider;

/// Ends the run with a report when a promise is broken.
inline void Require(bool promise) {
    if (!promise) {
        std::abort();
    }
}

/// Any 32-bit number, half of the time a small one.
inline LONG AnyLong(ByteSource& source) {
    return source.ConsumeBool() ? source.ConsumeIntegralInRange<LONG>(-64, 2048)
                                : source.ConsumeIntegral<LONG>();
}

/// A picture header with every field that counts from the fuzzer; layouts that are known now and
/// then.
inline BITMAPINFOHEADER AnyHeader(ByteSource& source, const DWORD* compressions,
                                  std::size_t count) {
    BITMAPINFOHEADER header = {};
    header.biSize = source.ConsumeBool() ? DWORD{sizeof(header)} : source.ConsumeIntegral<DWORD>();
    header.biWidth = AnyLong(source);
    header.biHeight = AnyLong(source);
    header.biPlanes = source.ConsumeBool() ? WORD{1} : source.ConsumeIntegral<WORD>();
    constexpr WORD kBits[] = {16, 20, 24, 32};
    header.biBitCount =
        source.ConsumeBool() ? source.PickValueInArray(kBits) : source.ConsumeIntegral<WORD>();
    const auto choice = source.ConsumeIntegralInRange<std::size_t>(0, count);
    header.biCompression = choice < count ? compressions[choice] : source.ConsumeIntegral<DWORD>();
    header.biSizeImage = source.ConsumeIntegral<DWORD>();
    return header;
}

}  // namespace nyx::fuzz
