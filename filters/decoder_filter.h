#pragma once

#include <type_traits>

#include "codecs/header_checks.h"
#include "dv/dv_codec.h"
#include "filters/filter.h"
#include "filters/picture_size.h"
#include "platform/byte_span.h"

namespace nyx {

/// The properties of a compressed frame, or of a stream before its first frame.
struct FrameParameters {
    BITMAPINFOHEADER header = {};  ///< the type's; `biSizeImage` is the given frame's length
    REFERENCE_TIME averageFrameDuration = 0;
    LONG fieldOrder = -1;
    PictureAspect aspect;
};

/// Asks the codec about one frame, or with an empty `frame` about the stream. `E_FAIL` when the
/// type has no header, else the codec's result.
[[nodiscard]] HRESULT ReadFrameParameters(ICodec& codec, const AM_MEDIA_TYPE& type, ByteSpan frame,
                                          FrameParameters* parameters);

/// Decodes one compressed sample into one output sample, sets the output's field-1-first flag and
/// length, and reports what the frame shows. `fillsRows` says that the codec fills the rows of an
/// output that is wider than the stream; other codecs leave what is right of the picture unwritten.
/// `E_UNEXPECTED` for samples without data, `E_FAIL` for types without a header, for an output of
/// no known kind and for a buffer that is smaller than its picture or not writable, else the
/// codec's result. Runs on the streaming thread.
[[nodiscard]] HRESULT DecodeSample(ICodec& codec, bool fillsRows, const AM_MEDIA_TYPE& inputType,
                                   const AM_MEDIA_TYPE& outputType, IMediaSample* inputSample,
                                   IMediaSample* outputSample, FrameParameters* shown);

/// Updates the type of a `VIDEOINFOHEADER2` connection to a frame that is about to be delivered
/// with `sample`: rewrites it in place and, where the peer accepts it dynamically, attaches it to
/// the sample. The next frame makes a change in a frame that is not delivered.
void UpdateOutputType(const FrameParameters& shown, CBasePin& output, IMediaSample* sample);

/// The policy of a decoder, for NyxFilterImpl.
struct DecoderPolicy {
    static constexpr EngineMode kMode = kEngineForDecoding;

    /// Whether the codec decodes `input`, and to `output` when that is not null. `S_OK` or
    /// `VFW_E_TYPE_NOT_ACCEPTED`. Of the input only the format block counts: the codec goes by the
    /// FourCC in its header.
    [[nodiscard]] static HRESULT CheckTypes(ICodec& codec, const AM_MEDIA_TYPE& input,
                                            const AM_MEDIA_TYPE* output);

    /// Builds the output type offered at `position`, from 0 on, for a stream of type `input`: the
    /// list of layouts once with a `VIDEOINFOHEADER2` block, then with a `VIDEOINFOHEADER` one.
    /// `VFW_S_NO_MORE_ITEMS` past the end, `E_OUTOFMEMORY`, or the codec's failure.
    [[nodiscard]] static HRESULT OfferType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                                           CMediaType* type);

    /// Asks the allocator for one buffer that holds a picture of the output's type; `E_FAIL` when
    /// the type has no header.
    [[nodiscard]] static HRESULT RequestBuffer(CBasePin& input, CBasePin& output,
                                               IMemAllocator* allocator,
                                               ALLOCATOR_PROPERTIES* properties);

    /// DecodeSample, and UpdateOutputType for a frame that will be delivered.
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
