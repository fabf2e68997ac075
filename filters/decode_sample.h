#pragma once

/// @file
/// One sample's path through a decoder filter.

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "filters/frame_parameters.h"

namespace nyx {

/// Decodes one compressed sample into one output sample, sets the output's field-1-first flag and
/// length, and reports what the frame shows. `fillsRows` says that the codec fills the rows of an
/// output that is wider than the stream; other codecs leave what is right of the picture unwritten.
/// `E_POINTER` for null samples, `E_UNEXPECTED` for samples without data, `E_FAIL` for types
/// without a header, for an output of no known kind and for a buffer that is smaller than its
/// picture or not writable, else the codec's result. Runs on the streaming thread.
[[nodiscard]] HRESULT DecodeSample(ICodec& codec, bool fillsRows, const AM_MEDIA_TYPE& inputType,
                                   const AM_MEDIA_TYPE& outputType, IMediaSample* inputSample,
                                   IMediaSample* outputSample, FrameParameters* shown);

/// Updates the type of a `VIDEOINFOHEADER2` connection to a frame that is about to be delivered
/// with `sample`: rewrites it in place and, where the peer accepts it dynamically, attaches it to
/// the sample. The next frame makes a change in a frame that is not delivered.
void UpdateOutputType(const FrameParameters& shown, CBasePin& output, IMediaSample* sample);

}  // namespace nyx
