#pragma once

/// @file
/// The media types and buffers of an encoder filter, as functions over plain records.

#include "baseclasses/streams.h"
#include "codecs/codec.h"

namespace nyx {

/// Whether the codec encodes `input`, and to `output` when that is not null. `S_OK` or
/// `VFW_E_TYPE_NOT_ACCEPTED`. RGB 32-bit is an opaque kind, and a codec whose 32-bit pictures carry
/// alpha refuses it although its registered pin types name it: hosts ask for ARGB 32-bit instead.
[[nodiscard]] HRESULT CheckEncoderTypes(ICodec& codec, const AM_MEDIA_TYPE& input,
                                        const AM_MEDIA_TYPE* output);

/// Builds the compressed type offered at `position`, from 0 on, for pictures of type `input`: first
/// with a `VIDEOINFOHEADER2` block, then with a `VIDEOINFOHEADER` one. `VFW_S_NO_MORE_ITEMS` past
/// the end, `E_FAIL` when the input has no header, `VFW_E_TYPE_NOT_ACCEPTED` for pictures of no
/// known kind, `E_OUTOFMEMORY`.
[[nodiscard]] HRESULT OfferEncoderType(ICodec& codec, const AM_MEDIA_TYPE& input, int position,
                                       CMediaType* type);

/// Asks the allocator for one buffer of 1.2 times the picture. `E_UNEXPECTED` when the input has no
/// header.
[[nodiscard]] HRESULT RequestEncoderBuffer(const AM_MEDIA_TYPE& input, IMemAllocator* allocator,
                                           ALLOCATOR_PROPERTIES* properties);

}  // namespace nyx
