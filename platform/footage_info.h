#pragma once

/// @file
/// What nyxsource.dll's filter says about the file it has opened: QueryInterface of the filter
/// gives INyxFootageInfo. For hosts in C++. Any thread; every call answers `VFW_E_WRONG_STATE`
/// before Load and `E_POINTER` for a null pointer.

#include <windows.h>

#include <unknwn.h>

/// A timecode by SMPTE ST 12-1.
struct NyxTimecode {
    WORD hours;
    WORD minutes;
    WORD seconds;
    WORD frames;
    WORD framesPerSecond;  ///< that are counted: 24, 25, 30, 50 or 60
    WORD dropFrame;        ///< 1: frame numbers 0 and 1 are dropped each minute but each tenth
};

/// Who gives a timecode.
enum NyxTimecodeOrigin : DWORD {
    NyxTimecodeNone = 0,
    NyxTimecodeContainer = 1,  ///< the file's timecode track, counted on from its start
    NyxTimecodeFrame = 2,      ///< the subcode of the DV frame itself
};

/// A stream of the file. Numbers that the kind of stream does not have are 0.
struct NyxStreamInfo {
    GUID majorType;          ///< MEDIATYPE_Video or MEDIATYPE_Audio
    DWORD fourcc;            ///< video: that of its media type
    DWORD pins;              ///< 1 when a pin gives the stream, 0 when the filter cannot
    DWORD channels;          ///< audio
    DWORD samplesPerSecond;  ///< audio
    DWORD bitsPerSample;     ///< audio, in the file
    WCHAR name[64];          ///< the pin's name, or why the stream is not supported
};

struct INyxFootageInfo : public IUnknown {
    /// The container's short name, such as "mxf", "mov", "avi", "gxf", "dv" or "m2v". The caller
    /// frees it with SysFreeString, as every BSTR here.
    virtual HRESULT STDMETHODCALLTYPE GetContainer(BSTR* name) = 0;

    /// The timecode of the picture at `position`, in units of 100 ns from the file's start, and who
    /// gives it. `S_FALSE` and zeroes where the file has none.
    virtual HRESULT STDMETHODCALLTYPE GetTimecode(LONGLONG position, NyxTimecode* timecode,
                                                  NyxTimecodeOrigin* origin) = 0;

    /// The frame rate of the picture as a fraction; `S_FALSE` and zeroes without one.
    virtual HRESULT STDMETHODCALLTYPE GetFrameRate(DWORD* numerator, DWORD* denominator) = 0;

    /// The reel's or tape's name and the clip's; `S_FALSE` and an empty string without one.
    virtual HRESULT STDMETHODCALLTYPE GetReelName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClipName(BSTR* name) = 0;

    /// The streams of picture and sound in the file's order, supported or not. GetStream:
    /// `E_INVALIDARG` for an index past the last.
    virtual HRESULT STDMETHODCALLTYPE GetStreamCount(DWORD* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStream(DWORD index, NyxStreamInfo* info) = 0;
};

__CRT_UUID_DECL(INyxFootageInfo, 0x7C0F5A0E, 0x3B1D, 0x4F0A, 0x9C, 0x7E, 0x52, 0xD5, 0xB1, 0xA3,
                0xE8, 0xF4)
