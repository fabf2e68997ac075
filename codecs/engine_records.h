#pragma once

/// @file
/// The records that cross to the closed engines, word by word: every field is one 32-bit
/// little-endian word, pointers included, in the order given. Words whose meaning only the engine
/// knows are called constants or reserved and are passed as the values below.
///
/// 64-bit engines get the same words in the same order, but a pointer and a PixelFormatCode take
/// eight bytes, at the next multiple of eight. They export the same names, including the decoration
/// of standard calls, which 64 bits do not have.

#include <windows.h>

#include <cstddef>

namespace nyx {

/// One word, as wide as a pointer: a number, or the address of a callback slot or callback.
using PixelFormatCode = DWORD_PTR;

/// The size of a record of so many words, and its size for 64-bit engines.
constexpr std::size_t RecordBytes(std::size_t words, std::size_t bytesIn64Bits) {
    return sizeof(void*) == 4 ? words * 4 : bytesIn64Bits;
}

/// Commands, the first word of the record-based engines.
constexpr LONG kCommandDecode = 0;
constexpr LONG kCommandProbe = 0x40000000;
constexpr LONG kCommandCoreEncode = 0x04000000;
constexpr LONG kCommandAlphaEncode = 0;
constexpr LONG kCommandZeta2 = 0;

/// Constants whose meaning only the engines know.
constexpr LONG kCoreConstant = 2;          ///< Zeta core, decode word 8 and encode word 9
constexpr LONG kZetaEncodeConstant = 9;    ///< Zeta core and alpha, encode word 13
constexpr LONG kZeta2EncodeConstant = 11;  ///< Zeta2, encode word 11
constexpr LONG kZeta2EncodeAlpha = 2;      ///< Zeta2, encode word 7 for a 32-bit input
constexpr LONG kZeta2FirstAlphaKind = 2;   ///< Zeta2, probe word 6: 2 and 3 mean alpha
constexpr LONG kZeta2LastAlphaKind = 3;

/// Zeta core engine: decode, and the header probe that fills all other words with ones.
struct ZetaCoreDecodeRecord {
    LONG command = 0;
    void* destination = nullptr;
    LONG stride = 0;  ///< bytes, negative for bottom-up
    LONG bytesPerPixel = 0;
    PixelFormatCode pixelFormat = 0;
    const void* frame = nullptr;  ///< behind any "INFO" chunk
    DWORD codedLength = 0;        ///< decode: bytes at `frame`; probe: set by the engine
    LONG coreConstant = 0;
    LONG reserved[5] = {};
};
static_assert(sizeof(ZetaCoreDecodeRecord) == RecordBytes(13, 72));

/// Zeta core engine: encode. The entry returns the coded length.
struct ZetaCoreEncodeRecord {
    LONG command = 0;
    const void* source = nullptr;
    LONG stride = 0;
    LONG bytesPerPixel = 0;
    PixelFormatCode pixelFormat = 0;
    void* output = nullptr;
    DWORD outputCapacity = 0;  ///< bytes
    LONG workSize = 0;         ///< 4096 bytes per block of 16 by 16 pixels
    LONG coreConstant = 0;
    LONG width = 0;
    LONG height = 0;
    LONG quantScale = 0;
    LONG encodeConstant = 0;
    LONG reserved = 0;
};
static_assert(sizeof(ZetaCoreEncodeRecord) == RecordBytes(14, 72));

/// Zeta alpha engine: decode, and the header probe, all of whose words are ones except the command
/// and the frame. The record has no length.
struct ZetaAlphaDecodeRecord {
    LONG command = 0;
    void* destination = nullptr;
    union {
        LONG stride = 0;
        DWORD codedLength;  ///< probe: set by the engine
    };
    LONG bytesPerPixel = 0;
    LONG reserved5[3] = {};
    PixelFormatCode pixelFormat = 0;
    const void* frame = nullptr;
    LONG reserved10[5] = {};
};
static_assert(sizeof(ZetaAlphaDecodeRecord) == RecordBytes(14, 80));

/// Zeta alpha engine: encode. The entry returns the coded length.
struct ZetaAlphaEncodeRecord {
    LONG command = 0;
    const void* source = nullptr;
    LONG stride = 0;
    LONG bytesPerPixel = 0;
    LONG reserved5[3] = {};
    PixelFormatCode pixelFormat = 0;
    void* output = nullptr;
    LONG width = 0;
    LONG height = 0;
    LONG quantScale = 0;
    LONG encodeConstant = 0;
    LONG reserved14 = 0;
};
static_assert(sizeof(ZetaAlphaEncodeRecord) == RecordBytes(14, 80));

/// Zeta2 engine: the picture that decode and encode records point to.
struct Zeta2Plane {
    void* data = nullptr;
    LONG stride = 0;
    LONG reserved = 0;
};
static_assert(sizeof(Zeta2Plane) == RecordBytes(3, 16));

/// Zeta2 engine: decode, and the header probe that leaves all other words zero.
struct Zeta2DecodeRecord {
    LONG command = 0;
    const Zeta2Plane* plane = nullptr;
    PixelFormatCode pixelFormat = 0;
    const void* frame = nullptr;
    DWORD codedLength = 0;  ///< decode: bytes at `frame`; probe: set by the engine
    LONG alphaKind = 0;     ///< probe: set by the engine
    LONG reserved[5] = {};
};
static_assert(sizeof(Zeta2DecodeRecord) == RecordBytes(11, 64));

/// Zeta2 engine: encode. The entry returns the coded length.
struct Zeta2EncodeRecord {
    LONG command = 0;
    const Zeta2Plane* plane = nullptr;
    PixelFormatCode pixelFormat = 0;
    void* output = nullptr;
    DWORD outputCapacity = 0;
    LONG workSize = 0;  ///< height * width / bytes per pixel / 8
    LONG alpha = 0;     ///< kZeta2EncodeAlpha or 0
    LONG width = 0;
    LONG height = 0;
    LONG quantScale = 0;
    LONG encodeConstant = 0;
    LONG reserved = 0;
};
static_assert(sizeof(Zeta2EncodeRecord) == RecordBytes(12, 64));

/// Lossless engine: the kind of pixels in a frame, its second byte.
enum LosslessKind : LONG {
    kLosslessYuy2 = 0,
    kLosslessRgb24 = 1,
    kLosslessRgb32 = 2,
    kLosslessArgb32 = 3,
};

/// MPEG-2 intra engine: the zeroed state of each of its two calls. Only the coded height is read
/// back.
struct MpegIntraState {
    LONG reserved1[2] = {};
    LONG codedHeight = 0;
    LONG reserved4[234] = {};
};
static_assert(sizeof(MpegIntraState) == 948);

/// MPEG-2 intra engine: the lines to leave out of a picture.
struct MpegIntraCrop {
    LONG reserved1[2] = {};
    LONG linesDroppedAtTop = 0;
    LONG reserved4[29] = {};
};

/// MPEG-2 intra engine: the call that decodes the picture, and the one that reads sequence and
/// picture header, all of whose words behind the length are zero.
struct MpegIntraRecord {
    MpegIntraState* state = nullptr;
    const void* frame = nullptr;
    DWORD frameLength = 0;
    void* destination = nullptr;
    LONG stride = 0;
    LONG bytesPerPixel = 0;
    LONG width = 0;
    LONG height = 0;
    LONG reserved[5] = {};
    const MpegIntraCrop* crop = nullptr;  ///< null for none
};
static_assert(sizeof(MpegIntraRecord) == RecordBytes(14, 80));

/// Entry points. Those with a record get its address.
using ZetaEntry = LONG(__stdcall*)(void* record);  ///< core, alpha and Zeta2
using LosslessDecodeEntry = LONG(__stdcall*)(LONG kind, const void* frame, void* destination,
                                             LONG stride, LONG width, LONG height);
using LosslessEncodeEntry = LONG(__stdcall*)(LONG kind, void* output, const void* source,
                                             LONG stride, LONG width, LONG height);
using MpegIntraEntry = LONG(__cdecl*)(void* record);

/// The DV engine decodes one whole frame. `destination` is the first row in processing order,
/// `stride` the bytes from row to row, negative for bottom-up. The result, a status, is ignored.
using DvDecodeEntry = LONG(__stdcall*)(LONG flags, const void* frame, void* destination,
                                       LONG stride, LONG bytesPerPixel, LONG outputCode);

/// It encodes one picture of the variant's own size and returns the frame's length in bytes.
using DvEncodeEntry = LONG(__stdcall*)(LONG flags, void* frame, const void* source, LONG stride,
                                       LONG bytesPerPixel, LONG inputCode);

}  // namespace nyx
