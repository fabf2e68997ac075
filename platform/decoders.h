#pragma once

/// @file
/// The decoder of nyxcodecs.dll for each FourCC.

#include "platform/class_ids.h"
#include "platform/fourcc.h"

namespace nyx {

struct DecoderClass {
    DWORD fourcc;
    const CLSID& clsid;
};
constexpr DecoderClass kDecoders[] = {
    {FourCC("QDVC"), CLSID_NyxDv25Decoder},     {FourCC("QDV5"), CLSID_NyxDv50Decoder},
    {FourCC("QDVH"), CLSID_NyxDvHdDecoder},     {FourCC("QZTA"), CLSID_NyxZetaDecoder},
    {FourCC("QLLC"), CLSID_NyxLosslessDecoder}, {FourCC("QMIC"), CLSID_NyxMpegIntraDecoder},
    {FourCC("QZT2"), CLSID_NyxZeta2Decoder},    {FourCC("Q210"), CLSID_NyxTenBitDecoder},
};

/// The class of a FourCC's decoder; null for none.
constexpr const CLSID* DecoderOf(DWORD fourcc) {
    for (const DecoderClass& row : kDecoders) {
        if (row.fourcc == fourcc) {
            return &row.clsid;
        }
    }
    return nullptr;
}

}  // namespace nyx
