#pragma once

#include <type_traits>

#include "codecs/header_checks.h"
#include "dv/dv_codec.h"
#include "filters/decode_sample.h"
#include "filters/decoder_negotiation.h"
#include "filters/filter.h"

namespace nyx {

/// The policy of a decoder; see decoder_negotiation.h and decode_sample.h.
struct DecoderPolicy {
    static constexpr EngineMode kMode = kEngineForDecoding;
    static constexpr auto CheckTypes = CheckDecoderTypes;
    static constexpr auto OfferType = OfferDecoderType;

    /// The buffer's size follows from the output.
    [[nodiscard]] static HRESULT RequestBuffer(CBasePin&, CBasePin& output,
                                               IMemAllocator* allocator,
                                               ALLOCATOR_PROPERTIES* properties) {
        return RequestDecoderBuffer(output.CurrentMediaType(), allocator, properties);
    }

    template <class Codec>
    [[nodiscard]] static HRESULT Transform(Codec& codec, CBasePin& input, CBasePin& output,
                                           IMediaSample* inputSample, IMediaSample* outputSample,
                                           bool waitingForKeyFrame) {
        bool fillsRows = false;
        if constexpr (std::is_base_of_v<CDvCodecBase, Codec>) {
            // The codec stretches a narrower picture to an output of one of its own sizes.
            const BITMAPINFOHEADER* to = NyxUtil::FormatOf(output.CurrentMediaType()).header;
            fillsRows =
                to && codec.IsSupportedSize(to->biWidth, static_cast<LONG>(AbsoluteHeight(*to)));
        }
        FrameParameters shown;
        const HRESULT result =
            DecodeSample(codec, fillsRows, input.CurrentMediaType(), output.CurrentMediaType(),
                         inputSample, outputSample, &shown);
        if (result == S_OK && !waitingForKeyFrame) {
            UpdateOutputType(shown, output, outputSample);
        }
        return result;
    }
};

template <class Base, class Codec>
using NyxDecoderImpl = NyxFilterImpl<Base, Codec, DecoderPolicy>;

}  // namespace nyx
