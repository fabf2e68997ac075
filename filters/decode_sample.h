#pragma once

/// @file
/// One sample's way through a decoder filter.

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "filters/frame_parameters.h"

namespace nyx {

/// Decodes one compressed sample into one output sample, whose field-1-first flag and length it
/// sets, and tells what the frame shows. `fillsRows` says that the codec fills the rows of an
/// output that is wider than the stream; others leave what is right of the picture as it was.
/// `E_POINTER` for null samples, `E_UNEXPECTED` for samples without data, `E_FAIL` for types
/// without a header, an output of no known kind or a buffer that is smaller than its picture or may
/// not be written, else the codec's result. Runs on the streaming thread.
[[nodiscard]] HRESULT DecodeSample(ICodec& codec, bool fillsRows, const AM_MEDIA_TYPE& inputType,
                                   const AM_MEDIA_TYPE& outputType, IMediaSample* inputSample,
                                   IMediaSample* outputSample, FrameParameters* shown);

/// Keeps the type of a `VIDEOINFOHEADER2` connection true to a frame that is about to be delivered
/// with `sample`: rewrites it in place and, where the peer takes it dynamically, lets the sample
/// carry it. A change that comes with a frame that is not delivered waits for the next one.
void UpdateOutputType(const FrameParameters& shown, CBasePin& output, IMediaSample* sample);

/// One call of ICodec::Decompress.
struct DecodeCall {
    const BITMAPINFOHEADER* input;  ///< `biSizeImage` is the number of bytes at `frame`
    const void* frame;
    const BITMAPINFOHEADER* output;
    bool alpha;
    BYTE* picture;
    std::size_t pictureSize;  ///< bytes of the whole picture
    bool fillsRows;           ///< see DecodeSample
};

/// Decodes straight into the picture, or, for write-combined memory, which codecs would read and
/// write out of order at a crawl, by way of a temporary buffer, of which on success the bytes that
/// the codec has written are copied. Never reads the picture.
[[nodiscard]] HRESULT DecodePicture(ICodec& codec, const DecodeCall& call, bool writeCombined);

}  // namespace nyx
