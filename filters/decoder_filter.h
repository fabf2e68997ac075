#pragma once

#include "filters/decode_sample.h"
#include "filters/decoder_negotiation.h"
#include "filters/filter.h"

namespace nyx {

/// What makes a filter a decoder; see decoder_negotiation.h and decode_sample.h.
struct DecoderSide {
    static constexpr EngineMode kMode = kEngineForDecoding;
    static constexpr auto CheckTypes = CheckDecoderTypes;
    static constexpr auto OfferType = OfferDecoderType;

    /// The buffer's size follows from the output.
    static HRESULT RequestBuffer(CBasePin&, CBasePin& output, IMemAllocator* allocator,
                                 ALLOCATOR_PROPERTIES* properties) {
        return RequestDecoderBuffer(output.CurrentMediaType(), allocator, properties);
    }

    static HRESULT Transform(ICodec& codec, CBasePin& input, CBasePin& output,
                             IMediaSample* inputSample, IMediaSample* outputSample) {
        return DecodeSample(codec, input.CurrentMediaType(),
                            {&output.CurrentMediaType(), output.GetConnected()}, inputSample,
                            outputSample);
    }
};

template <class Base, class Codec>
using NyxDecoderImpl = NyxFilterImpl<Base, Codec, DecoderSide>;

}  // namespace nyx
