#pragma once

#include "dv/dv_codec.h"

namespace nyx {

/// DVCPRO50, "QDV5".
class CDv50Codec : public CDvCodecBase {
  public:
    CDv50Codec();
    bool IsSupportedSize(LONG width, LONG height) override;
    HRESULT DecodeFrame(LONG width, LONG height, LONG flags, const void* frame, BYTE* destination,
                        LONG stride, LONG bytesPerPixel, LONG outputCode) override;
    virtual ~CDv50Codec() = default;

  private:
    LONG EncodeFlags(const SurfaceFormat& source) const override;

    bool wide_screen_;
};

}  // namespace nyx
