#pragma once

#include "baseclasses/streams.h"
#include "codecs/codec.h"

namespace nyx {

/// Encodes one uncompressed sample into one output sample and sets its length. `E_POINTER` for null
/// samples, `E_UNEXPECTED` for samples without data, `E_FAIL` for types without a header, for
/// an input of no known kind or shorter than its picture, and for an output buffer that is not
/// writable, else the result of the codec, which gets the size of the buffer. Runs on the streaming
/// thread.
[[nodiscard]] HRESULT EncodeSample(ICodec& codec, const AM_MEDIA_TYPE& inputType,
                                   const AM_MEDIA_TYPE& outputType, IMediaSample* inputSample,
                                   IMediaSample* outputSample);

}  // namespace nyx
