#pragma once

#include "dv/dv_codec.h"

namespace nyx {

/// DVCPRO50, "QDV5".
class CDv50Codec : public CDvCodecBase {
  public:
    CDv50Codec();

  private:
    [[nodiscard]] LONG EncodeFlags(const SurfaceFormat& source) const override;

    bool wide_screen_;
};

/// DVCPRO HD, "QDVH".
class CDvHdCodec : public CDvCodecBase {
  public:
    CDvHdCodec();

  private:
    [[nodiscard]] LONG EncodeFlags(const SurfaceFormat& source) const override;

    bool fifty_frames_;  ///< the "5060" setting: 720 lines are encoded for 50 frames per second
};

}  // namespace nyx
