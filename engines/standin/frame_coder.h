#pragma once

/// @file
/// Calls the stand-ins' encode entries, for programs that need frames of pictures.

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// A picture to code: rows from the top, packed.
struct Source {
    const BYTE* data;
    LONG stride;  ///< bytes
    LONG width;
    LONG height;
    LONG quantScale;  ///< 1 is the finest; the lossless engine ignores it
};

/// Calls an engine's encode entry with its record. The coded length, or a negative result.
using CodingCall = LONG (*)(FARPROC entry, const Source& source, std::vector<BYTE>* output);

/// A coding of one of the stand-ins.
struct Coding {
    const char* name;
    const char* fourcc;  ///< of the stream
    WORD streamBits;     ///< as the stream's header has them
    WORD sourceBits;     ///< per pixel: 16 "YUY2", 24 B G R, 32 B G R A
    const wchar_t* library;
    const char* entry;
    CodingCall call;
};

/// All of them.
const std::vector<Coding>& Codings();

/// The coding with this name, null when there is none.
const Coding* FindCoding(std::string_view name);

/// A coding with its engine loaded.
class FrameCoder {
  public:
    /// Loads the engine by its bare name. Throws std::runtime_error when that fails.
    explicit FrameCoder(const Coding& coding);
    ~FrameCoder() { FreeLibrary(engine_); }
    FrameCoder(const FrameCoder&) = delete;
    FrameCoder& operator=(const FrameCoder&) = delete;

    /// One frame. Throws std::runtime_error when the engine refuses the picture.
    std::vector<BYTE> Code(const BYTE* picture, LONG width, LONG height, LONG quantScale) const;

  private:
    const Coding& coding_;
    HMODULE engine_;
    FARPROC entry_;
};

}  // namespace standin
