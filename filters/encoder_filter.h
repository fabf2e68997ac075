#pragma once

#include "filters/filter.h"

namespace nyx {

/// The policy of an encoder, for NyxFilterImpl.
struct EncoderPolicy {
    static constexpr EngineMode kMode = kEngineForEncoding;

    /// Whether the codec encodes `input`, and to `output` when that is not null. `S_OK` or
    /// `VFW_E_TYPE_NOT_ACCEPTED`. RGB 32-bit is an opaque kind, and a codec whose 32-bit pictures
    /// carry alpha refuses it although its registered pin types name it: hosts ask for ARGB 32-bit
    /// instead.
    [[nodiscard]] static HRESULT CheckTypes(ICodec& codec, const AM_MEDIA_TYPE& input,
                                            const AM_MEDIA_TYPE* output);

    /// Builds the compressed type offered at `position`, from 0 on, for pictures of type `input`:
    /// first with a `VIDEOINFOHEADER2` block, then with a `VIDEOINFOHEADER` one.
    /// `VFW_S_NO_MORE_ITEMS` past the end, `E_FAIL` when the input has no header,
    /// `VFW_E_TYPE_NOT_ACCEPTED` for pictures of no known kind, `E_OUTOFMEMORY`.
    [[nodiscard]] static HRESULT OfferType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                                           CMediaType* type);

    /// Asks the allocator for one buffer of 1.2 times the input's picture. `E_UNEXPECTED` when the
    /// input is not connected or has no header.
    [[nodiscard]] static HRESULT RequestBuffer(CBasePin& input, CBasePin& output,
                                               IMemAllocator* allocator,
                                               ALLOCATOR_PROPERTIES* properties);

    /// Encodes one uncompressed sample into one output sample and sets its length. `E_UNEXPECTED`
    /// for samples without data, `E_FAIL` for types without a header, for an input of no known kind
    /// or shorter than its picture, and for an output buffer that is not writable, else the result
    /// of the codec, which gets the size of the buffer. Runs on the streaming thread.
    [[nodiscard]] static HRESULT Transform(ICodec& codec, CBasePin& input, CBasePin& output,
                                           IMediaSample* inputSample, IMediaSample* outputSample,
                                           bool waitingForKeyFrame);
};

template <class Base, class Codec>
using NyxEncoderImpl = NyxFilterImpl<Base, Codec, EncoderPolicy>;

}  // namespace nyx
