#pragma once

/// @file
/// What the stand-in engines offer beside their entries: a record of the last calls, for tests.
/// Every stand-in DLL exports `standin_last_call`, undecorated.

#include <windows.h>

namespace standin {

/// Which of an engine's services a call asked for.
enum Purpose : DWORD { kProbe, kDecode, kEncode, kPurposes };

/// The last call for one purpose as the engine was given it.
struct Call {
    DWORD count = 0;          ///< calls for this purpose since the library was loaded
    DWORD wordCount = 0;      ///< words of the record, or arguments
    LONG_PTR words[16] = {};  ///< those of 32 bits extended by their sign
    DWORD innerCount = 0;     ///< words of a record that the first one points to: plane or crop
    LONG_PTR inner[8] = {};
    LONG result = 0;  ///< the entry's result; 0 until it returns
};

/// Copies the last call for `purpose`. FALSE when there was none.
using LastCallEntry = BOOL(__cdecl*)(DWORD purpose, Call* call);

/// The MPEG-2 intra engine only decodes: so that there is something to decode, its stand-in exports
/// `standin_m2vi_encode`, undecorated. Codes `height` rows of "YUY2", extra lines at the top
/// included; returns the coded length or a Result.
using MpegIntraEncodeEntry = LONG(__cdecl*)(const BYTE* source, LONG stride, LONG width,
                                            LONG height, LONG quantScale, BYTE* output,
                                            DWORD capacity);

/// The environment variable that makes an entry misbehave: "PURPOSE:ACTION" at every call or
/// "PURPOSE:ACTION/N" at every Nth, with PURPOSE "probe", "decode" or "encode", and ACTION one of
///     access      writes to address 0
///     divide      divides by 0
///     throw       raises another compiler's C++ exception
///     callback    has a row callback write to address 0
///     breakpoint  executes a breakpoint
///     longer      reports a coded length one byte longer than it is (probe), or than the room
///                 that was given (encode)
///     full        reports the room that was given as the coded length (encode)
///     zero        reports a coded length of 0 (probe)
///     negative    reports a failure for a length (encode)
constexpr const char* kMisbehave = "NYX_STANDIN";

/// Results of the entries beside a coded length. The module does not look at a decoder's.
enum Result : LONG {
    kDone = 0,
    kBadRecord = -1,  ///< a word of the record has a value that no caller should give
    kBadFrame = -2,   ///< not a frame of this engine, or damaged
    kNoRoom = -3,     ///< the output is too small even for the coarsest picture
    kNoMemory = -4,
};

}  // namespace standin
