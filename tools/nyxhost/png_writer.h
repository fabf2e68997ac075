#pragma once

#include <string>

#include <wincodec.h>

#include "com.h"
#include "picture.h"

namespace nyx::host {

/// Writes pictures as PNG files through the Windows Imaging Component. For one thread at a time.
class PngWriter {
  public:
    /// Failure kPlatform when the imaging component is missing.
    PngWriter();

    /// Writes `picture` to `path` (UTF-8), replacing an older file; a failure leaves no partial
    /// file. Failure kOutput, or kPlatform when the imaging component fails.
    void Write(const std::string& path, const Picture& picture) const;

  private:
    ComPtr<IWICImagingFactory> factory_;
};

}  // namespace nyx::host
