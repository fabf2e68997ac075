#pragma once

/// @file
/// The handful of Windows names that platform-neutral code uses. On Windows they are the system's
/// own; elsewhere this header supplies them with the same widths and values, so that conversion,
/// parsing and packing build natively for sanitizers, fuzzers and benchmarks.

#ifdef _WIN32

#include <windows.h>

using REFERENCE_TIME = long long;

/// A refused media type (vfwmsgs.h); repeated here because that header needs DirectShow's.
#ifndef VFW_E_TYPE_NOT_ACCEPTED
#define VFW_E_TYPE_NOT_ACCEPTED ((HRESULT)0x8004022AL)
#endif

#else

#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using HRESULT = std::int32_t;
using REFERENCE_TIME = std::int64_t;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT VFW_E_TYPE_NOT_ACCEPTED = static_cast<HRESULT>(0x8004022Au);

constexpr bool SUCCEEDED(HRESULT result) {
    return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
    return result < 0;
}

constexpr DWORD BI_RGB = 0;

/// The calling convention that 32-bit Windows programs agree on; others have one of their own.
#define WINAPI

/// The 40-byte header of an uncompressed or compressed picture, laid out as in wingdi.h.
struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40);

#endif
