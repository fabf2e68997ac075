#pragma once

#include "codecs/scratch_image.h"
#include "dv/dv_codec.h"
#include "dv/reference_file.h"

namespace nyx {

/// DV25 and DVCPRO25, "QDVC". The recorded lines of 720 pixels may be a wide-screen picture of 856
/// or 1024 square pixels; samples may point into a file.
class CDv25Codec : public CDvCodecBase {
  public:
    CDv25Codec();

    /// E_FAIL for a null sample, else the result of DvReferenceFile.
    [[nodiscard]] HRESULT ReadReferenceFrame(ByteSpan sample, std::unique_ptr<BYTE[]>* buffer,
                                             DWORD* length) override;

    /// Pictures of another width than 720 are stretched from a temporary one; the contents of
    /// 32-bit ones stay as they were. E_OUTOFMEMORY without memory for the temporary picture.
    [[nodiscard]] HRESULT DecodeFrame(LONG width, LONG height, LONG flags, const void* frame,
                                      BYTE* destination, LONG stride, LONG bytesPerPixel,
                                      LONG outputCode) override;

  private:
    [[nodiscard]] LONG EncodeFlags(const SurfaceFormat& source) const override;

    /// Pictures of another width than 720 are squeezed into a temporary one.
    [[nodiscard]] HRESULT EncodePicture(LONG flags, const SurfaceFormat& source, void* frame,
                                        LONG* length) override;

    bool wide_screen_;
    bool dvcpro25_;
    DvReferenceFile reference_;
    KeptMemory kept_;
};

}  // namespace nyx
