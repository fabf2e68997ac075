#pragma once

/// @file
/// Pixel-format conversion between the codecs' 4:2:2 working layouts and RGB. All entries are
/// reentrant and keep no state.

#include "convert/kernels/kernels.h"
#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx {

struct CpuInfo;

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

/// Alpha modes. In every layout full alpha is opaque; colours are scaled about black, not about
/// code 0, so that transparent studio-range pixels are black.
enum AlphaMode : LONG {
    kStraightAlpha = 0,       ///< colours are as if opaque
    kPremultipliedAlpha = 1,  ///< colours are scaled by alpha
};

/// The properties of a conversion. One of the formats is a 4:2:2 layout, the other an RGB one; RGB
/// is converted to YUV with one alpha mode for both sides.
struct ConversionKind {
    DWORD source;
    DWORD destination;
    LONG range = kStudioRange;   ///< RangeVariant
    LONG matrix = kMatrixBt601;  ///< MatrixId
    bool alphaPlane = false;
    LONG sourceAlphaMode = kStraightAlpha;  ///< the modes count with an alpha plane only
    LONG destinationAlphaMode = kStraightAlpha;
};

/// A kernel and its numbers, for any number of pictures or strips of them.
struct Conversion {
    const Kernel* kernel = nullptr;
    KernelNumbers numbers = {};
};

/// The images of one run; alpha planes may be null or without data.
struct ConversionPlanes {
    const ImagePlane* source;
    const ImagePlane* destination;
    const ImagePlane* sourceAlpha = nullptr;
    const ImagePlane* destinationAlpha = nullptr;
};

/// Chooses the conversion, also one by a matrix that colour flags never name. `E_INVALIDARG`, with
/// the conversion empty, for formats, alpha modes, a range or a matrix that do not fit together.
[[nodiscard]] HRESULT ChooseConversion(const ConversionKind& kind, Conversion* conversion);

/// The same with range and matrix by the colour flags of both sides; `E_INVALIDARG` also for flags
/// that name none.
[[nodiscard]] HRESULT ChooseConversion(ConversionKind kind, DWORD yuvFlags, DWORD rgbFlags,
                                       Conversion* conversion);

/// Runs a conversion on the processor that `cpu` describes; several threads may run one at once.
/// Checked in this order: that it was chosen (`E_INVALIDARG`); planes (`E_POINTER`); size, which
/// must be positive with an even width (`E_INVALIDARG`); SSSE3 (`E_UNEXPECTED`).
[[nodiscard]] HRESULT RunConversion(const CpuInfo& cpu, const Conversion& conversion,
                                    const ConversionPlanes& planes, LONG width, LONG height);

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

/// Runs a kernel and returns what it throws: an HRESULT itself, anything else as `E_UNEXPECTED`.
/// Our kernels throw nothing; this is deliberate for any that might.
template <class Body>
[[nodiscard]] HRESULT RunKernel(Body body) noexcept {
    try {
        body();
        return S_OK;
    } catch (HRESULT result) {
        return result;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace nyx
