#include "dv/dv_codec.h"

#include <cstring>
#include <iterator>
#include <tuple>
#include <utility>

#include "codecs/engine_records.h"
#include "codecs/fault_guard.h"
#include "codecs/header_checks.h"
#include "codecs/surface_conversion.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

// index                             0  1  2  3  4  5  6  7  8  9 10 11 12  13
constexpr BYTE kPixelFormatCodes[] = {0, 8, 6, 4, 2, 7, 5, 3, 1, 7, 5, 3, 1, 92};
constexpr int kDecodedFormats = kIndexV210 + 1;
constexpr int kEncodedFormats = kIndexV210;
static_assert(std::size(kPixelFormatCodes) == kDecodedFormats);

/// The engine's flags for a format code, 0 for one that it does not decode.
LONG VariantFlags(LONG formatCode) noexcept {
    switch (formatCode) {
        case kFormatDv25:
        case kFormatDv25Locked:
            return kEngineDv25;
        case kFormatDvcPro25:
            return kEngineDvcPro25;
        case kFormatDvcPro50:
            return kEngineDvcPro50;
        case kFormatDvcProHd1080:
            return kEngineWide | kEngineDvcProHd1080;
        case kFormatDvcProHd720:
            return kEngineWide | kEngineDvcProHd720Decode;
        default:
            return 0;
    }
}

/// The engine takes no length and paints a picture of the frame's own size: both have to fit.
bool FitsSurface(const FormatRecord& format, ByteSpan frame,
                 const SurfaceFormat& surface) noexcept {
    return frame.size() >= static_cast<std::size_t>(format.frameBytes) &&
           format.codedWidth <= surface.width && format.codedHeight == surface.height;
}

/// A longer chain of references counts as endless.
constexpr int kMaxReferences = 8;

FrameInfo DescribeDvFrame(ByteSpan frame) {
    CLvtDifParser parser;
    std::ignore = parser.Parse(frame.data(), frame.size());  // unset values are -1
    const auto [aspectX, aspectY] = parser.GetPixelAspect();
    return {.fieldOrder = parser.GetFieldOrder(),
            .pixelAspectX = aspectX,
            .pixelAspectY = aspectY,
            .infoA = parser.GetTimecodePack(),
            .infoB = parser.GetBinaryGroupPack(),
            .rdrtA = parser.GetRecDatePack(),
            .rdrtB = parser.GetRecTimePack()};
}

/// Guarded, since the failure may be that the picture's memory is gone.
HRESULT FailBlack(const SurfaceFormat& output) {
    std::ignore = Guarded([&] { FillBlack(output); });
    return E_FAIL;
}

/// Whether rows do not overlap, so that none reaches past the picture.
bool HasValidStride(const SurfaceFormat& surface) noexcept {
    const std::int64_t rowBytes = std::int64_t{surface.width} * surface.bytesPerPixel;
    return surface.stride >= rowBytes || surface.stride <= -rowBytes;
}

}  // namespace

const DvSignal* FindDvPicture(DWORD fourcc, std::int64_t width, std::int64_t height) {
    return FindDvSignalIf([&](const DvSignal& signal) {
        return signal.fourcc == fourcc && signal.height == height &&
               (signal.width == width || (signal.wideWidth == width && width != 0));
    });
}

CDvCodecBase::CDvCodecBase(const CodecFormats& formats)
    : CCodecBase(formats, ReadCodecSetting(formats.fourcc, L"color_space", 0)),
      engine_(dvEngines) {}

bool CDvCodecBase::IsEngineAvailable(LONG) {
    return dvEngines.IsComplete();
}

bool CDvCodecBase::IsSettingOn(DWORD fourcc, const wchar_t* name) {
    return ReadCodecSetting(fourcc, name, 0) != 0;
}

DWORD CDvCodecBase::GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool) {
    if (!input) {
        return 0;
    }
    // 720 lines have the smaller frame of the two systems, which is listed first.
    const DvSignal* signal = FindDvPicture(GetFourCC(), input->biWidth, AbsoluteHeight(*input));
    return signal ? static_cast<DWORD>(signal->frameBytes) : 0;
}

HRESULT CDvCodecBase::Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                               const void* inputData, BITMAPINFOHEADER* output, void* outputData,
                               DWORD, DWORD stride, DWORD) {
    if (!input || !inputData || !output || !outputData) {
        return E_POINTER;
    }
    SurfaceFormat surface;
    const SurfaceRequest request =
        RequestFor(*input, *output, alphaInput, inputData, static_cast<LONG>(stride));
    if (FAILED(DescribeSurface(request, &surface)) || surface.index >= kEncodedFormats) {
        return E_FAIL;
    }
    LONG length = -1;
    const HRESULT result = EncodePicture(EncodeFlags(surface), surface, outputData, &length);
    if (FAILED(result)) {
        return result;
    }
    if (length < 0) {
        return E_FAIL;
    }
    output->biSizeImage = static_cast<DWORD>(length);
    return S_OK;
}

HRESULT CDvCodecBase::EncodePicture(LONG flags, const SurfaceFormat& source, void* frame,
                                    LONG* length) {
    return CallEncode(flags, source, frame, length);
}

HRESULT CDvCodecBase::GetFrameInfo(const BITMAPINFOHEADER* input, const void* frame,
                                   REFERENCE_TIME averageFrameDuration, FrameInfo* info) {
    if (!input) {
        return E_POINTER;
    }
    if (!frame) {
        return CCodecBase::GetFrameInfo(input, nullptr, averageFrameDuration, info);
    }
    ByteSpan bytes = BytesAt(frame, input->biSizeImage);
    std::unique_ptr<BYTE[]> buffer;
    const HRESULT reference = FollowReferences(&bytes, &buffer);
    if (FAILED(reference)) {
        return reference;
    }
    if (info) {
        *info = {};
        std::ignore = Guarded([&] { *info = DescribeDvFrame(bytes); });
    }
    return S_OK;
}

HRESULT CDvCodecBase::Decompress(const BITMAPINFOHEADER* input, const void* data,
                                 const BITMAPINFOHEADER* output, bool alphaOut, void* outputData,
                                 LONG stride, DWORD) {
    if (!input || !output || !outputData) {
        return E_POINTER;
    }
    ByteSpan frame = BytesAt(data, input->biSizeImage);
    std::unique_ptr<BYTE[]> buffer;
    const HRESULT reference = FollowReferences(&frame, &buffer);
    if (FAILED(reference)) {
        return reference;
    }
    const SurfaceRequest request = RequestFor(*output, *input, alphaOut, outputData, stride);
    SurfaceFormat surface;
    if (!FitsOutput(*input, *output) || FAILED(DescribeSurface(request, &surface)) ||
        surface.index >= kDecodedFormats || !HasValidStride(surface)) {
        return E_FAIL;
    }
    SurfaceFormat picture = surface;
    if (!IsSupportedSize(surface.width, surface.height)) {
        picture.width = input->biWidth;
    }
    return DecodeToSurface(frame, picture, surface);
}

HRESULT CDvCodecBase::DecodeToSurface(ByteSpan frame, const SurfaceFormat& picture,
                                      const SurfaceFormat& output) {
    CLvtDifParser parser;
    // The frame may be anywhere, in a mapped file whose disk is gone too.
    if (FAILED(GuardedResult([&] { return parser.Parse(frame.data(), frame.size()); }))) {
        return FailBlack(output);
    }
    const LONG variant = VariantFlags(parser.GetFormatCode());
    if (variant == 0 || !engine_[0].Decode<DvDecodeEntry>()) {
        return E_FAIL;
    }
    if (!FitsSurface(parser.State().format, frame, picture)) {
        return FailBlack(output);
    }
    const LONG system = parser.GetSystemRate() == 60 ? kEngineSystem60 : kEngineSystem50;
    const HRESULT result =
        DecodeFrame(picture.width, picture.height, system | variant, frame.data(), picture.data,
                    picture.stride, picture.bytesPerPixel, kPixelFormatCodes[picture.index]);
    return result == E_FAIL ? FailBlack(output) : result;
}

bool CDvCodecBase::IsSupportedSize(LONG width, LONG height) {
    return FindDvPicture(GetFourCC(), width, height) != nullptr;
}

HRESULT CDvCodecBase::ReadReferenceFrame(ByteSpan, std::unique_ptr<BYTE[]>*, DWORD*) {
    return S_FALSE;
}

HRESULT CDvCodecBase::FollowReferences(ByteSpan* frame, std::unique_ptr<BYTE[]>* buffer) {
    for (int followed = 0; followed <= kMaxReferences; ++followed) {
        std::unique_ptr<BYTE[]> read;
        DWORD length = 0;
        const HRESULT result = ReadReferenceFrame(*frame, &read, &length);
        if (result != S_OK) {
            return FAILED(result) ? result : S_OK;
        }
        *buffer = std::move(read);
        *frame = BytesAt(buffer->get(), length);
    }
    return E_FAIL;
}

HRESULT CDvCodecBase::DecodeFrame(LONG, LONG, LONG flags, const void* frame, BYTE* destination,
                                  LONG stride, LONG bytesPerPixel, LONG outputCode) {
    LONG ignored;  // the engine's status
    return CallEngine(&ignored, engine_[0].Decode<DvDecodeEntry>(), flags, frame, destination,
                      stride, bytesPerPixel, outputCode);
}

HRESULT CDvCodecBase::CallEncode(LONG flags, const SurfaceFormat& source, void* frame,
                                 LONG* length) {
    return CallEngine(length, engine_[0].Encode<DvEncodeEntry>(), flags, frame, source.data,
                      source.stride, source.bytesPerPixel, LONG{kPixelFormatCodes[source.index]});
}

}  // namespace nyx
