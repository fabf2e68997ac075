#pragma once

/// @file
/// The media types and buffers of a decoder filter, as functions over plain records.

#include "baseclasses/streams.h"
#include "codecs/codec.h"

namespace nyx {

/// Whether the codec decodes `input`, and to `output` when that is not null. `S_OK` or
/// `VFW_E_TYPE_NOT_ACCEPTED`. Of the input only the format block counts: the codec goes by the
/// FourCC in its header.
[[nodiscard]] HRESULT CheckDecoderTypes(ICodec& codec, const AM_MEDIA_TYPE& input,
                                        const AM_MEDIA_TYPE* output);

/// Builds the output type offered at `position`, from 0 on, for a stream of type `input`: the list
/// of layouts once with a `VIDEOINFOHEADER2` block, then with a `VIDEOINFOHEADER` one.
/// `VFW_S_NO_MORE_ITEMS` past the end, `E_OUTOFMEMORY`, or the codec's failure.
[[nodiscard]] HRESULT OfferDecoderType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                                       CMediaType* type);

/// Asks the allocator for one buffer that holds a picture of type `output`; `E_FAIL` when the type
/// has no header.
[[nodiscard]] HRESULT RequestDecoderBuffer(const AM_MEDIA_TYPE& output, IMemAllocator* allocator,
                                           ALLOCATOR_PROPERTIES* properties);

}  // namespace nyx
