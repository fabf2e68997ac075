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
    /// partial file. `type` has a video format block and an RGB subtype of PictureFormats(); a
    /// positive height means bottom-up rows. Failure kDecode when the sample is too short for its
    /// type, kOutput, or kPlatform for any other type or when the imaging component fails.
    /// Rows are resampled to `width` pixels unless that is 0.
    void Write(const std::string& path, const MediaType& type, const BYTE* data, std::size_t size,
               UINT width = 0) const;

  private:
    ComPtr<IWICImagingFactory> factory_;
};

}  // namespace nyx::host
