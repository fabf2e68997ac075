#pragma once

/// @file
/// One sample's way through a decoder filter.

#include "baseclasses/streams.h"
#include "codecs/codec.h"

namespace nyx {

/// The connected output side as one sample sees it.
struct OutputConnection {
    CMediaType*
        type;    ///< the output pin's type, rewritten in place when field order or aspect change
    IPin* peer;  ///< the connected downstream pin, or null; not owned
};

/// Decodes one compressed sample into one output sample: reads the frame's parameters, sets the
/// field-1-first flag, follows a change of interlacing or aspect on a `VIDEOINFOHEADER2` connection
/// and decodes. `E_POINTER` for null samples, `E_UNEXPECTED` for samples without data, `E_FAIL` for
/// types without a header or an output buffer that is smaller than its picture or may not be
/// written, else the codec's result. Runs on the streaming thread.
HRESULT DecodeSample(ICodec& codec, const AM_MEDIA_TYPE& inputType, const OutputConnection& output,
                     IMediaSample* inputSample, IMediaSample* outputSample);

/// One call of ICodec::Decompress.
struct DecodeCall {
    const BITMAPINFOHEADER* input;  ///< `biSizeImage` is the number of bytes at `frame`
    const void* frame;
    const BITMAPINFOHEADER* output;
    bool alpha;
    BYTE* picture;
    std::size_t pictureSize;  ///< bytes of the whole picture
};

/// Decodes straight into the picture, or, for write-combined memory, which codecs would read and
/// write out of order at a crawl, by way of a temporary buffer that is copied on success.
HRESULT DecodePicture(ICodec& codec, const DecodeCall& call, bool writeCombined);

/// Whether the memory was allocated write-combined.
bool IsWriteCombined(const void* memory);

}  // namespace nyx
