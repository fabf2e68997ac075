#pragma once

#include <windows.h>

#include <bcrypt.h>

#include <memory>
#include <string>

#include "host/media_type.h"
#include "output_file.h"

namespace nyx::host {

/// Writes the MD5 of each picture to the standard output in the lines of ffmpeg's "framemd5"
/// format, version 2: "0, time, time, 1, bytes, hash". Times count frames from the first one. YUY2
/// is hashed as delivered; RGB is hashed as rows from the top without padding, B G R, or B G R A in
/// argb32, which ffmpeg calls bgr24 and bgra. For one thread at a time.
class FrameHash {
  public:
    /// Prepares for pictures of `type` with frames of this rate, and writes the format's head.
    /// Failure kPlatform without the system's cryptography.
    FrameHash(const MediaType& type, std::pair<LONG, LONG> rate);

    /// Writes the line of frame number `index`. Failures of MakePicture; kOutput; kPlatform.
    void Write(LONG index, const MediaType& type, const BYTE* data, std::size_t size);

  private:
    struct Closer {
        using pointer = BCRYPT_ALG_HANDLE;
        void operator()(BCRYPT_ALG_HANDLE algorithm) const noexcept {
            BCryptCloseAlgorithmProvider(algorithm, 0);
        }
    };
    void Put(const std::string& text);

    OutputFile output_;
    std::unique_ptr<void, Closer> algorithm_;
};

}  // namespace nyx::host
