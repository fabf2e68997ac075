#pragma once

#include "filters/encode_sample.h"
#include "filters/encoder_negotiation.h"
#include "filters/filter.h"

namespace nyx {

/// The policy of an encoder; see encoder_negotiation.h and encode_sample.h.
struct EncoderPolicy {
    static constexpr EngineMode kMode = kEngineForEncoding;
    static constexpr auto CheckTypes = CheckEncoderTypes;
    static constexpr auto OfferType = OfferEncoderType;

    /// The buffer's size follows from the input.
    [[nodiscard]] static HRESULT RequestBuffer(CBasePin& input, CBasePin&, IMemAllocator* allocator,
                                               ALLOCATOR_PROPERTIES* properties) {
        CMediaType type;
        if (FAILED(input.ConnectionMediaType(&type))) {
            return E_UNEXPECTED;
        }
        return RequestEncoderBuffer(type, allocator, properties);
    }

    [[nodiscard]] static HRESULT Transform(ICodec& codec, CBasePin& input, CBasePin& output,
                                           IMediaSample* inputSample, IMediaSample* outputSample,
                                           bool) {
        return EncodeSample(codec, input.CurrentMediaType(), output.CurrentMediaType(), inputSample,
                            outputSample);
    }
};

template <class Base, class Codec>
using NyxEncoderImpl = NyxFilterImpl<Base, Codec, EncoderPolicy>;

}  // namespace nyx
