#pragma once

/// @file
/// Pixel-format conversion between the codecs' 4:2:2 working layouts and RGB. All entries are
/// reentrant and keep no state.

#include "convert/conversion.h"
#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx {

/// One image, or one alpha plane. The caller owns the memory and guarantees its size.
struct ImagePlane {
    /// First byte of the first row in processing order; for a bottom-up RGB buffer the address of
    /// the last row in memory, with a negative pitch.
    BYTE* data;
    /// Bytes from the start of one row to the start of the next in processing order.
    LONG pitch;
    /// `pitch` less width times bytes per pixel: the step from a row's last byte to the next row.
    LONG rowGap;
};

/// Colour flags of the YUV side.
enum YuvColourFlags : DWORD {
    kYuvBt601 = 0,
    kYuvBt709 = 2,
};

/// Colour flags of the RGB side; only bit 0 counts.
enum RgbColourFlags : DWORD {
    kRgbStudioRange = 0,  ///< black at 16, white at 235
    kRgbFullRange = 1,    ///< 0 to 255
};

/// Bytes of one pixel of a conversion format, 0 for any other FourCC.
LONG BytesPerPixel(DWORD fourcc);

/// Combines both sides' colour flags: 0 studio BT.601, 1 full BT.601, 2 studio BT.709, 3 full
/// BT.709; -1 when the YUV-side word is neither 0 nor 2.
int ResolveColourFlags(DWORD rgbFlags, DWORD yuvFlags);

/// Converts a "YUY2" or "W210" picture to an RGB layout. Width and height are in pixels, positive,
/// the width even. Sample values are not clipped to their nominal ranges; of a "W210" word the low
/// ten bits count. Chroma of the odd pixel of a pair is the mean of the pair's and its right
/// neighbour's.
///
/// `sourceAlpha` has one byte per pixel and may be null; layouts with alpha then carry full alpha.
/// With an alpha plane, 8-bit layouts store its bytes and accept only alpha modes of 0. Deep
/// layouts accept 0 (straight) or 1 (premultiplied) for each mode: equal modes keep the colours,
/// unequal ones scale them by alpha or its inverse about black; a transparent pixel of a
/// premultiplied source becomes black, and colours below black count as black. Premultiplied
/// full-range colours never exceed their alpha.
///
/// Results: `S_OK`; `E_INVALIDARG` for an unsupported combination or size; `E_POINTER` for a
/// missing image; `E_UNEXPECTED` without SSSE3; checked in the order of combination, images, size,
/// processor. A failed request writes nothing. Callable on any thread.
[[nodiscard]] HRESULT ConvertFromYuv(const ImagePlane* source, const ImagePlane* sourceAlpha,
                                     DWORD sourceFourCC, DWORD sourceColourFlags,
                                     LONG sourceAlphaMode, const ImagePlane* destination,
                                     DWORD destinationFourCC, DWORD destinationColourFlags,
                                     LONG destinationAlphaMode, LONG width, LONG height);

/// Converts an RGB picture to "YUY2" or "W210"; chroma is that of the even pixel of each pair.
/// Both alpha planes may be null. A destination alpha plane receives the source alpha plane's
/// bytes, else the upper eight bits of the pixels' own alpha, else 255. `alphaMode` is common to
/// both sides, so that colours are not scaled; with an alpha plane it is 0, of deep layouts 0 or 1.
/// Results and rules as for ConvertFromYuv.
[[nodiscard]] HRESULT ConvertToYuv(const ImagePlane* source, DWORD sourceFourCC,
                                   DWORD sourceColourFlags, const ImagePlane* sourceAlpha,
                                   const ImagePlane* destination,
                                   const ImagePlane* destinationAlpha, DWORD destinationFourCC,
                                   DWORD destinationColourFlags, LONG alphaMode, LONG width,
                                   LONG height);

/// A conversion without alpha planes, prepared once for any number of strips of rows. Several
/// threads may run a prepared one at once.
class StripConversion {
  public:
    /// Formats and flags as for ConvertFromYuv and ConvertToYuv; `E_INVALIDARG` for an unsupported
    /// combination, after which Run fails.
    [[nodiscard]] HRESULT PrepareFromYuv(DWORD sourceFourCC, DWORD sourceColourFlags,
                                         DWORD destinationFourCC, DWORD destinationColourFlags);
    [[nodiscard]] HRESULT PrepareToYuv(DWORD sourceFourCC, DWORD sourceColourFlags,
                                       DWORD destinationFourCC, DWORD destinationColourFlags);

    /// Converts one strip; results and rules as for ConvertFromYuv.
    [[nodiscard]] HRESULT Run(const ImagePlane& source, const ImagePlane& destination, LONG width,
                              LONG height) const;

  private:
    Conversion conversion_;
};

}  // namespace nyx
