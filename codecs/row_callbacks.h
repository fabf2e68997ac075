#pragma once

/// @file
/// The callbacks by which an engine stores its 8-bit 4:2:2 samples, block by block, in a packed
/// professional layout, or reads them. They keep no state and allocate nothing; an engine may call
/// them for any block, in any order, on any thread.
///
/// A block covers up to 16 by 16 pixels. Each of its rows takes 32 bytes: luma of 16 pixels, then 8
/// Cr, then 8 Cb samples, one of each for a pixel pair. The alpha block of streams that carry alpha
/// follows 512 bytes after the block's start, also 32 bytes a row, one byte a pixel.
///
/// Layouts, bytes in memory order:
///
///     "2vuy"  Cb Y0 Cr Y1       a pixel pair, no alpha
///     "v408"  Cb Y Cr A         a pixel; studio-range alpha, 16 clear, 235 opaque
///     "r408"  A Y Cb Cr         a pixel; luma re-based to black at 0
///     "r4fl"  A Y Cb Cr         a pixel, 32-bit floats; luma re-based, 1.0 for a sample of 255
///
/// A writer stores, from luma Y, chroma C and alpha A, with the alpha E of the pair's even pixel,
/// which scales the pair's chroma; integer division truncates, k is 0.003921569 (1/255):
///
///             opaque                 straight alpha               premultiplied alpha
///     2vuy    Y, C                   as premultiplied             ((Y-16)A + 4207) / 255, C'
///     v408    Y, C, 235              Y, C, (219 A + 127)/255+16   as 2vuy; alpha as straight
///     r408    max(Y-16, 0), C, 255   max(Y-16, 0), C, A           max(((Y-16)A + 127)/255, 0),
///                                                                 C', A
///     r4fl    (Y-16)k, Ck, 1.0       (Y-16)k, Ck, A/255           (Y-16)A/255 k,
///                                                                 ((C-128)E/255 + 128)k, A/255
///
/// with C' = ((C-128)E + 32767) / 255. "2vuy" has no alpha channel: pictures with alpha are put
/// over black there. Floats are clamped: luma to -0.0627451..0.9372549, chroma and alpha to 0..1.
///
/// Readers are the writers' inverses with chroma from the even pixel of a pair. A premultiplied
/// pixel with alpha 0 reads as black (16, 128). Samples beyond the range that a writer produces are
/// clamped; NaN reads as the lowest value.
///
/// The alpha modes of the codecs: 0 (and all values but 1) is straight alpha, whose transparent
/// pixels the codec clears afterwards; 1 is premultiplied alpha, whose transparent pixels are black
/// without that. The rule is the same for all layouts and both directions.
///
/// Every callback handles width / 2 pixel pairs of a row, 8 at most, and skips an odd last pixel.

#include "codecs/pixel_format_index.h"

namespace nyx {

enum class AlphaUse { kStraight, kPremultiplied };
constexpr int kAlphaUses = 2;

/// Bytes from one row of a block to the next, and from a block to its alpha block.
constexpr LONG kBlockRowBytes = 32;
constexpr LONG kAlphaBlockOffset = 512;
constexpr LONG kBlockSide = 16;

/// Stores an opaque block. `stride` is in bytes and may be negative, as in all callbacks.
using CoreBlockWriter = void(WINAPI*)(BYTE* destination, LONG stride, const BYTE* block, LONG width,
                                      LONG rows);

/// Reads an opaque block; a layout's alpha is ignored.
using CoreBlockReader = void(WINAPI*)(const BYTE* source, LONG stride, BYTE* block, LONG width,
                                      LONG rows);

/// Stores a block with alpha. The third and fourth argument are the engine's own and not read.
using AlphaBlockWriter = void(WINAPI*)(BYTE* destination, LONG stride, DWORD, DWORD,
                                       const BYTE* block, LONG width, LONG rows);

/// Reads a block with alpha; "2vuy" gives opaque alpha.
using AlphaBlockReader = void(WINAPI*)(const BYTE* source, LONG stride, DWORD, DWORD, BYTE* block,
                                       LONG width, LONG rows);

/// Stores a fully transparent block: black with neutral chroma and alpha 0.
using TransparentFill = void(WINAPI*)(BYTE* destination, LONG stride, DWORD, DWORD, LONG width,
                                      LONG rows);

/// The slots of one layout, those with alpha by AlphaUse. An engine gets the address of a slot.
struct RowCallbacks {
    CoreBlockWriter coreDecode;
    CoreBlockReader coreEncode;
    struct {
        TransparentFill fill;
        AlphaBlockWriter write;
    } alphaDecode[kAlphaUses];
    AlphaBlockReader alphaEncode[kAlphaUses];
};
static_assert(sizeof(RowCallbacks) == 8 * sizeof(void*));

/// By PackedLayout.
extern const RowCallbacks kRowCallbacks[kPackedLayouts];

}  // namespace nyx
