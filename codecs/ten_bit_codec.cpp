#include "codecs/ten_bit_codec.h"

#include <algorithm>
#include <cstddef>

#include "codecs/fault_guard.h"
#include "codecs/frame_chunks.h"
#include "codecs/header_checks.h"
#include "codecs/pixel_format_index.h"
#include "codecs/surface_conversion.h"
#include "codecs/ten_bit_rows.h"
#include "convert/convert.h"
#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "media/v210.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("Q210");
constexpr WORD kBitCount = 20;
constexpr LONG kYuy2BytesPerPixel = 2;

/// The largest picture: its 10-bit frame and its 32-bit RGB buffer must both stay below 2^31 bytes.
constexpr std::int64_t kMaxPixels = (std::int64_t{1} << 31) / 4 - 1;

bool IsPossibleSize(std::int64_t width, std::int64_t height) {
    if (width < 2 || width % 2 != 0 || height < 1) {
        return false;
    }
    const std::int64_t blocks = V210Stride(width) / kV210BlockBytes;
    return width * height <= kMaxPixels && blocks * kV210BlockPixels * height <= kMaxPixels;
}

constexpr FormatPair kDecodePairs[] = {
    {kBitCount, BI_RGB, 24, AlphaFlag::kMustBeClear},
    {kBitCount, BI_RGB, 32, AlphaFlag::kMustBeClear},
    {kBitCount, kYuy2, 16, AlphaFlag::kMustBeClear},
};
constexpr FormatPair kEncodePairs[] = {
    {kBitCount, kYuy2, 16, AlphaFlag::kAny},
    {kBitCount, BI_RGB, 24, AlphaFlag::kAny},
};
constexpr CodecFormats kFormats = {kFourCC, &IsPossibleSize, kDecodePairs, kEncodePairs};

bool IsRgbIndex(int index) {
    return index >= kIndexRgb24 && index < kIndexV210;
}

void UnpackRows(const TenBitRowKernels& rows, const BYTE* frame, const ImagePlane& destination,
                LONG width, LONG height) {
    const std::size_t stride = TenBitRowLayoutFor(width).stride;
    BYTE* row = destination.data;
    for (LONG y = 0; y < height; ++y) {
        rows.unpack(frame, row, width);
        frame += stride;
        row += destination.pitch;
    }
}

void PackRows(const TenBitRowKernels& rows, const ImagePlane& source, BYTE* frame, LONG width,
              LONG height) {
    const std::size_t stride = TenBitRowLayoutFor(width).stride;
    const BYTE* row = source.data;
    for (LONG y = 0; y < height; ++y) {
        rows.pack(row, frame, width);
        row += source.pitch;
        frame += stride;
    }
}

/// RGB is converted through a strip of 8-bit 4:2:2 rows without gaps, a few rows at a time, so that
/// the second kernel finds them in the cache.
constexpr LONG kStripRows = 16;

/// Calls `convert` with the strip, a picture's next rows in RGB, the first row's number and the
/// count of rows.
template <typename Convert>
HRESULT ForEachStrip(ScratchMemory* scratch, ImagePlane rgb, LONG width, LONG height,
                     Convert convert) {
    const ScratchImage strip(scratch, width, kStripRows, kYuy2BytesPerPixel);
    if (!strip) {
        return E_OUTOFMEMORY;
    }
    for (LONG y = 0; y < height; y += kStripRows) {
        if (FAILED(convert(strip.Plane(), rgb, y, std::min(kStripRows, height - y)))) {
            return E_FAIL;
        }
        rgb.data += static_cast<std::ptrdiff_t>(rgb.pitch) * kStripRows;
    }
    return S_OK;
}

HRESULT DecodeRgb(const TenBitRowKernels& rows, const BYTE* frame, const SurfaceFormat& surface,
                  const ConversionFlags& flags, LONG width, ScratchMemory* scratch) {
    Conversion toRgb;
    if (FAILED(ChooseConversion({kYuy2, RgbFourCC(surface)}, flags.yuv, flags.rgb, &toRgb))) {
        return E_FAIL;
    }
    const std::size_t stride = TenBitRowLayoutFor(width).stride;
    return ForEachStrip(scratch, PlaneOf(surface, width), width, surface.height,
                        [&](const ImagePlane& yuy2, const ImagePlane& rgb, LONG y, LONG count) {
                            UnpackRows(rows, frame + stride * static_cast<std::size_t>(y), yuy2,
                                       width, count);
                            return RunConversion(GetCpuInfo(), toRgb, {&yuy2, &rgb}, width, count);
                        });
}

HRESULT EncodeRgb(const TenBitRowKernels& rows, const SurfaceFormat& surface,
                  const ConversionFlags& flags, BYTE* frame, ScratchMemory* scratch) {
    Conversion toYuy2;
    if (FAILED(ChooseConversion({RgbFourCC(surface), kYuy2}, flags.yuv, flags.rgb, &toYuy2))) {
        return E_FAIL;
    }
    const LONG width = surface.width;
    const std::size_t stride = TenBitRowLayoutFor(width).stride;
    return ForEachStrip(
        scratch, PlaneOf(surface, width), width, surface.height,
        [&](const ImagePlane& yuy2, const ImagePlane& rgb, LONG y, LONG count) {
            const HRESULT result = RunConversion(GetCpuInfo(), toYuy2, {&rgb, &yuy2}, width, count);
            if (SUCCEEDED(result)) {
                PackRows(rows, yuy2, frame + stride * static_cast<std::size_t>(y), width, count);
            }
            return result;
        });
}

}  // namespace

CTenBitCodec::CTenBitCodec() : CCodecBase(kFormats, ReadCodecSetting(kFourCC, L"color_space", 0)) {}

bool CTenBitCodec::IsEngineAvailable(LONG) {
    return true;
}

DWORD CTenBitCodec::GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool) {
    if (!input || !IsPossibleSize(input->biWidth, AbsoluteHeight(*input))) {
        return 0;
    }
    const auto rows = static_cast<DWORD>(AbsoluteHeight(*input));
    return static_cast<DWORD>(TenBitRowLayoutFor(input->biWidth).stride) * rows + kChunkMargin;
}

HRESULT CTenBitCodec::Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                               const void* inputData, BITMAPINFOHEADER* output, void* outputData,
                               DWORD, DWORD, DWORD) {
    if (!input || !inputData || !output || !outputData) {
        return E_POINTER;
    }
    SurfaceFormat surface;
    const TenBitRowKernels* rows = SelectTenBitRowKernels();
    if (!IsPossibleSize(input->biWidth, AbsoluteHeight(*input)) ||
        FAILED(DescribeSurface(RequestFor(*input, *output, alphaInput, inputData, 0), &surface)) ||
        !rows) {
        return E_FAIL;
    }

    ScratchMemory scratch(&kept_);
    const HRESULT result = GuardedResult([&]() -> HRESULT {
        auto* frame = static_cast<BYTE*>(outputData);
        if (surface.index == kIndexYuy2) {
            PackRows(*rows, PlaneOf(surface, surface.width), frame, surface.width, surface.height);
            return S_OK;
        }
        const ConversionFlags flags =
            ConversionFlagsFor(output->biWidth, input->biHeight, GetColorSpace());
        return IsRgbIndex(surface.index) ? EncodeRgb(*rows, surface, flags, frame, &scratch)
                                         : E_FAIL;
    });
    if (FAILED(result)) {
        return result;
    }
    const TenBitRowLayout layout = TenBitRowLayoutFor(surface.width);
    output->biSizeImage =
        static_cast<DWORD>(layout.stride + layout.gap) * static_cast<DWORD>(surface.height);
    return S_OK;
}

HRESULT CTenBitCodec::Decompress(const BITMAPINFOHEADER* input, const void* data,
                                 const BITMAPINFOHEADER* output, bool alphaOut, void* outputData,
                                 LONG stride, DWORD) {
    if (!input || !data || !output || !outputData) {
        return E_POINTER;
    }
    // The rules of the queries guard the arithmetic below.
    if (DecompressQuery(input, output, alphaOut) != S_OK) {
        return E_FAIL;
    }
    SurfaceFormat surface;
    const TenBitRowKernels* rows = SelectTenBitRowKernels();
    if (FAILED(
            DescribeSurface(RequestFor(*output, *input, alphaOut, outputData, stride), &surface)) ||
        !rows) {
        return E_FAIL;
    }

    const LONG width = input->biWidth;
    const LONG height = surface.height;
    ScratchMemory scratch(&kept_);
    return GuardedResult([&]() -> HRESULT {
        const ByteSpan frame = SkipInfoChunk(BytesAt(data, input->biSizeImage));
        if (frame.size() / TenBitRowLayoutFor(width).stride < static_cast<std::size_t>(height)) {
            return E_FAIL;
        }
        if (surface.index == kIndexYuy2) {
            UnpackRows(*rows, frame.data(), PlaneOf(surface, width), width, height);
            return S_OK;
        }
        const ConversionFlags flags = ConversionFlagsFor(width, output->biHeight, GetColorSpace());
        return DecodeRgb(*rows, frame.data(), surface, flags, width, &scratch);
    });
}

}  // namespace nyx
