#pragma once

#include <string>

#include <wincodec.h>

#include "com.h"
#include "host/media_type.h"

namespace nyx::host {

/// Writes pictures as PNG files through the Windows Imaging Component. For one thread at a time.
class PngWriter {
  public:
    /// Failure kPlatform when the imaging component is missing.
    PngWriter();

    /// Writes the bytes of a sample to `path` (UTF-8), replacing an older file; a failure leaves no
    /// partial file. The picture is scaled to `width` pixels in a row unless that is 0. Failures of
    /// MakePicture; kOutput; kPlatform when the imaging component fails.
    void Write(const std::string& path, const MediaType& type, const BYTE* data, std::size_t size,
               UINT width = 0) const;

  private:
    ComPtr<IWICImagingFactory> factory_;
};

}  // namespace nyx::host
