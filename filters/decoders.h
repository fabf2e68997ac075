#pragma once

/// @file
/// The concrete decoders: nothing but a codec bound to the filter.

#include "codecs/ten_bit_codec.h"
#include "filters/decoder_filter.h"

namespace nyx {

class CTenBitDecoder : public NyxDecoderImpl<CVideoTransformFilter, CTenBitCodec> {
  public:
    using NyxDecoderImpl::NyxDecoderImpl;
    ~CTenBitDecoder() override = default;
};

}  // namespace nyx
