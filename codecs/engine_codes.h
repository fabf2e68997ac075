#pragma once

/// @file
/// The pixel-format word of each engine's call record by pixel-format index: a number for the
/// layouts that the engine stores itself, else the address of a slot of row callbacks, or 0 where
/// the engine has no writer. The slots are constant. Callable on any thread.

#include "codecs/engine_records.h"

namespace nyx {

/// The caller's alpha mode that means premultiplied alpha; all others mean straight alpha.
constexpr DWORD kPremultipliedMode = 1;

/// The two directions of a codec.
enum class Direction { kDecode, kEncode };

/// Zeta core engine. A slot holds one entry: a writer to decode, a reader to encode.
PixelFormatCode ZetaCoreCode(int index, Direction direction);

/// Zeta alpha engine. A decode slot holds two entries: a fill for transparent areas, and a writer,
/// which depends on the alpha mode. An encode slot holds one reader.
PixelFormatCode ZetaAlphaCode(int index, Direction direction, DWORD alphaMode);

/// Zeta2 engine. Above 12 the word is a callback's own address: one for each index and direction,
/// and a second one for premultiplied alpha where a layout keeps alpha.
PixelFormatCode Zeta2Code(int index, Direction direction, DWORD alphaMode);

/// The lossless engine's kind for a pixel-format index, -1 above 12, where it has none.
LONG NativeLosslessKind(int index);

}  // namespace nyx
