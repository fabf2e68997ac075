#pragma once

/// @file
/// The concrete decoders, each a codec bound to the filter.

#include "codecs/lossless_codec.h"
#include "codecs/mpeg_intra_codec.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/zeta2_codec.h"
#include "codecs/zeta_codec.h"
#include "dv/dv25_codec.h"
#include "dv/dvcpro_codecs.h"
#include "filters/decoder_filter.h"

namespace nyx {

/// A concrete decoder: the template over its codec, and a destructor.
#define NYX_DECODER(Name, Codec)                                       \
    class Name : public NyxDecoderImpl<CVideoTransformFilter, Codec> { \
      public:                                                          \
        using NyxFilterImpl::NyxFilterImpl;                            \
        ~Name() override = default;                                    \
    }

NYX_DECODER(CDv25Decoder, CDv25Codec);
NYX_DECODER(CDv50Decoder, CDv50Codec);
NYX_DECODER(CDvHdDecoder, CDvHdCodec);
NYX_DECODER(CZetaDecoder, CZetaCodec);
NYX_DECODER(CLosslessDecoder, CLosslessCodec);
NYX_DECODER(CMpegIntraDecoder, CMpegIntraCodec);
NYX_DECODER(CZeta2Decoder, CZeta2Codec);
NYX_DECODER(CTenBitDecoder, CTenBitCodec);

#undef NYX_DECODER

}  // namespace nyx
