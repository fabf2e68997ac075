#pragma once

#include <string>
#include <vector>

#include <wincodec.h>

#include "com.h"
#include "host/media_type.h"

namespace nyx::host {

/// A picture in the layout of image files: rows from the top, no padding, B G R or B G R A bytes.
struct Picture {
    UINT width = 0;
    UINT height = 0;
    bool hasAlpha = false;
    std::vector<BYTE> pixels;

    UINT BytesPerPixel() const { return hasAlpha ? 4 : 3; }
};

/// The picture in a sample. `type` has a video format block and an RGB subtype of kPictureFormats;
/// a positive height means bottom-up rows. Failure kDecode when the sample is too short for its
/// type, kPlatform for any other type.
Picture MakePicture(const MediaType& type, const BYTE* data, std::size_t size);

/// The width that shows a picture of `type` at its own aspect on square pixels, at its full height;
/// the coded width where the type has no plausible aspect.
UINT SquareWidth(const MediaType& type);

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
