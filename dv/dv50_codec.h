#pragma once

#include "dv/dv_codec.h"

namespace nyx {

/// DVCPRO50, "QDV5".
class CDv50Codec : public CDvCodecBase {
  public:
    CDv50Codec();
    virtual ~CDv50Codec() = default;

  private:
    LONG EncodeFlags(const SurfaceFormat& source) const override;

    bool wide_screen_;
};

}  // namespace nyx
