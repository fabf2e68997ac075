#pragma once

/// @file
/// Headers, pictures and frames for tests, made without the code under test.

#include <cstring>
#include <initializer_list>
#include <vector>

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx::test {

using Bytes = std::vector<BYTE>;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A plain 40-byte header of one plane.
inline BITMAPINFOHEADER MakeHeader(DWORD compression, WORD bitCount, LONG width, LONG height,
                                   std::size_t sizeImage = 0) {
    const auto size = static_cast<DWORD>(sizeImage);
    return {sizeof(BITMAPINFOHEADER), width, height, 1, bitCount, compression, size, 0, 0, 0, 0};
}

/// The same of a picture: "YUY2" for 16 bits, else RGB.
inline BITMAPINFOHEADER PictureHeader(LONG bits, LONG width, LONG height) {
    return MakeHeader(bits == 16 ? FourCC("YUY2") : DWORD{BI_RGB}, WORD(bits), width, height);
}

/// One chunk: tag, payload size, payload of little-endian words.
inline Bytes Chunk(const char (&tag)[5], std::initializer_list<DWORD> words) {
    Bytes chunk(tag, tag + 4);
    std::vector<DWORD> all = {static_cast<DWORD>(4 * words.size())};
    all.insert(all.end(), words);
    const auto* bytes = reinterpret_cast<const BYTE*>(all.data());
    return chunk + Bytes(bytes, bytes + 4 * all.size());
}

/// The "INFO" container in front of a frame: its four words and the given sub-chunks.
inline Bytes InfoChunk(LONG a, LONG b, LONG aspectX, LONG aspectY, const Bytes& subChunks = {}) {
    Bytes info = Chunk("INFO", {DWORD(a), DWORD(b), DWORD(aspectX), DWORD(aspectY)});
    info[4] = static_cast<BYTE>(16 + subChunks.size());
    return info + subChunks;
}

/// A smooth picture with some detail for this header, packed: neighbouring pixels are alike in
/// every channel. The fourth byte of 32-bit pixels is alpha: a third clear, a third half, a third
/// opaque. `number` shifts the picture, for streams.
Bytes SmoothPicture(const BITMAPINFOHEADER& header, int number = 0);

/// A 4:2:2 picture of 10-bit samples, Cb Y Cr Y per pixel pair.
struct TenBitPicture {
    LONG width;
    LONG height;
    std::vector<WORD> samples;  ///< 2 * width a row
};

/// Pseudo-random samples, with the extremes well represented.
TenBitPicture RandomTenBitPicture(LONG width, LONG height, unsigned seed);

/// The picture as a Q210 frame: samples in threes in the low 30 bits of 32-bit words, rows of whole
/// 128-byte blocks of 48 pixels. Padding and unread bits are `filler`'s.
Bytes Q210Frame(const TenBitPicture& picture, BYTE filler = 0xFF);

/// The picture as 8-bit "YUY2" without row gaps: (s + 2) >> 2, at most 255.
Bytes ReferenceYuy2(const TenBitPicture& picture);

}  // namespace nyx::test
