#pragma once

/// @file
/// The records and identifiers of DirectShow that negotiation uses, laid out as in strmif.h,
/// amvideo.h and dvdmedia.h, for the fuzzers' Linux build alone.

#include <windows.h>

#include <cstdlib>
#include <cstring>

#define STDMETHODCALLTYPE __stdcall
#define WINAPI __stdcall

using BOOL = int;
using LPCWSTR = const wchar_t*;
using LPWSTR = wchar_t*;
constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;

struct GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
    bool operator==(const GUID& other) const {
        return std::memcmp(this, &other, sizeof(GUID)) == 0;
    }
    bool operator!=(const GUID& other) const { return !(*this == other); }
};

inline constexpr GUID GUID_NULL = {};
inline constexpr GUID MEDIATYPE_Video = {
    0x73646976, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
inline constexpr GUID MEDIASUBTYPE_YUY2 = {
    0x32595559, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
inline constexpr GUID MEDIASUBTYPE_RGB24 = {
    0xE436EB7D, 0x524F, 0x11CE, {0x9F, 0x53, 0, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
inline constexpr GUID MEDIASUBTYPE_RGB32 = {
    0xE436EB7E, 0x524F, 0x11CE, {0x9F, 0x53, 0, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
inline constexpr GUID MEDIASUBTYPE_ARGB32 = {
    0x773C9AC0, 0x3274, 0x11D0, {0xB7, 0x24, 0, 0xAA, 0, 0x6C, 0x1A, 0x01}};
inline constexpr GUID FORMAT_VideoInfo = {
    0x05589F80, 0xC356, 0x11CE, {0xBF, 0x01, 0, 0xAA, 0, 0x55, 0x59, 0x5A}};
inline constexpr GUID FORMAT_VideoInfo2 = {
    0xF72A76A0, 0xEB0A, 0x11D0, {0xAC, 0xE4, 0, 0, 0xC0, 0xCC, 0x16, 0xBA}};

struct IUnknown {
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

  protected:
    ~IUnknown() = default;
};

struct AM_MEDIA_TYPE {
    GUID majortype;
    GUID subtype;
    BOOL bFixedSizeSamples;
    BOOL bTemporalCompression;
    ULONG lSampleSize;
    GUID formattype;
    IUnknown* pUnk;
    ULONG cbFormat;
    BYTE* pbFormat;
};

struct RECT {
    LONG left, top, right, bottom;
};

struct VIDEOINFOHEADER {
    RECT rcSource;
    RECT rcTarget;
    DWORD dwBitRate;
    DWORD dwBitErrorRate;
    REFERENCE_TIME AvgTimePerFrame;
    BITMAPINFOHEADER bmiHeader;
};

struct VIDEOINFOHEADER2 {
    RECT rcSource;
    RECT rcTarget;
    DWORD dwBitRate;
    DWORD dwBitErrorRate;
    REFERENCE_TIME AvgTimePerFrame;
    DWORD dwInterlaceFlags;
    DWORD dwCopyProtectFlags;
    DWORD dwPictAspectRatioX;
    DWORD dwPictAspectRatioY;
    DWORD dwControlFlags;
    DWORD dwReserved2;
    BITMAPINFOHEADER bmiHeader;
};
static_assert(sizeof(VIDEOINFOHEADER) == 88 && sizeof(VIDEOINFOHEADER2) == 112);

constexpr DWORD AMINTERLACE_IsInterlaced = 0x01;
constexpr DWORD AMINTERLACE_Field1First = 0x04;
constexpr DWORD AMINTERLACE_FieldPatBothRegular = 0x30;
constexpr DWORD AMINTERLACE_DisplayModeBobOrWeave = 0x80;

constexpr HRESULT VFW_S_NO_MORE_ITEMS = 0x00040103;

struct ALLOCATOR_PROPERTIES {
    long cBuffers;
    long cbBuffer;
    long cbAlign;
    long cbPrefix;
};

struct IMemAllocator : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetProperties(ALLOCATOR_PROPERTIES* request,
                                                    ALLOCATOR_PROPERTIES* actual) = 0;
};

inline void* CoTaskMemAlloc(std::size_t size) {
    return std::malloc(size);
}
inline void CoTaskMemFree(void* block) {
    std::free(block);
}

// What a header of the base-class library declares beside what is used here.
struct CRITICAL_SECTION {};
inline void InitializeCriticalSection(CRITICAL_SECTION*) {}
inline void DeleteCriticalSection(CRITICAL_SECTION*) {}
inline void EnterCriticalSection(CRITICAL_SECTION*) {}
inline void LeaveCriticalSection(CRITICAL_SECTION*) {}
