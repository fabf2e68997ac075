#include "picture.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "output_file.h"
#include "picture_format.h"
#include "text.h"

namespace nyx::host {
namespace {

// Rows of 24-bit RGB are DWORD-aligned by convention, but some decoders pack them; the sample's
// size decides.
std::size_t StrideOf(const PictureFormat& format, UINT width, UINT height, std::size_t size) {
    const std::size_t packed = std::size_t{width} * format.bits / 8;
    const std::size_t aligned = (packed + 3) & ~std::size_t{3};
    if (size / height < packed) {
        throw Failure(ExitCode::kDecode, Format("a %ux%u %s picture has only %zu bytes", width,
                                                height, format.name, size));
    }
    return size / height >= aligned ? aligned : packed;
}

constexpr char kFailed[] = "cannot encode the picture";

/// Encodes into memory; OutputFile then reports the file's own errors.
void Encode(IWICImagingFactory& factory, IStream* stream, const Picture& picture, UINT width) {
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    Check(factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf()), kFailed);
    Check(encoder->Initialize(stream, WICBitmapEncoderNoCache), kFailed);
    Check(encoder->CreateNewFrame(frame.GetAddressOf(), nullptr), kFailed);
    Check(frame->Initialize(nullptr), kFailed);
    Check(frame->SetSize(width, picture.height), kFailed);
    const WICPixelFormatGUID& wanted =
        picture.hasAlpha ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat24bppBGR;
    WICPixelFormatGUID granted = wanted;
    Check(frame->SetPixelFormat(&granted), kFailed);
    Check(granted == wanted ? S_OK : WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT, kFailed);
    ComPtr<IWICBitmap> bitmap;  // refers to the picture's pixels
    ComPtr<IWICBitmapScaler> scaler;
    Check(factory.CreateBitmapFromMemory(
              picture.width, picture.height, wanted, picture.width * picture.BytesPerPixel(),
              static_cast<UINT>(picture.pixels.size()), const_cast<BYTE*>(picture.pixels.data()),
              bitmap.GetAddressOf()),
          kFailed);
    Check(factory.CreateBitmapScaler(scaler.GetAddressOf()), kFailed);
    Check(scaler->Initialize(bitmap.Get(), width, picture.height, WICBitmapInterpolationModeFant),
          kFailed);
    Check(frame->WriteSource(
              width == picture.width ? static_cast<IWICBitmapSource*>(bitmap.Get()) : scaler.Get(),
              nullptr),
          kFailed);
    Check(frame->Commit(), kFailed);
    Check(encoder->Commit(), kFailed);
}

}  // namespace

Picture MakePicture(const MediaType& type, const BYTE* data, std::size_t size) {
    const PictureFormat* format = FindPictureFormat(type.subtype);
    if (format == nullptr || format->compression != BI_RGB || !type.HasPicture() ||
        type.Header().biWidth <= 0 || type.Header().biHeight == 0 ||
        type.Header().biHeight == LONG_MIN) {
        throw Failure(ExitCode::kPlatform, "the decoder delivers an unknown picture type");
    }
    Picture picture;
    picture.width = static_cast<UINT>(type.Header().biWidth);
    picture.height = static_cast<UINT>(std::abs(type.Header().biHeight));
    picture.hasAlpha = format->subtype == &MEDIASUBTYPE_ARGB32;
    const std::size_t stride = StrideOf(*format, picture.width, picture.height, size);
    const std::size_t outStride = std::size_t{picture.width} * picture.BytesPerPixel();
    picture.pixels.resize(outStride * picture.height);
    for (UINT y = 0; y < picture.height; ++y) {
        const UINT row = type.Header().biHeight > 0 ? picture.height - 1 - y : y;
        for (UINT x = 0; x < picture.width; ++x) {
            std::copy_n(data + stride * row + format->bits / 8u * x, picture.BytesPerPixel(),
                        picture.pixels.data() + outStride * y + picture.BytesPerPixel() * x);
        }
    }
    return picture;
}

UINT SquareWidth(const MediaType& type) {
    constexpr std::uint64_t kMaxStretch = 8;  // beyond it the aspect is a mistake
    const auto coded = static_cast<UINT>(type.Header().biWidth);
    if (type.formattype != FORMAT_VideoInfo2 || type.Info2().dwPictAspectRatioY == 0) {
        return coded;
    }
    const auto height = static_cast<std::uint64_t>(std::abs(type.Header().biHeight));
    const std::uint64_t x = type.Info2().dwPictAspectRatioX;
    const std::uint64_t y = type.Info2().dwPictAspectRatioY;
    const std::uint64_t width = (x * height + y / 2) / y;
    return width == 0 || width > coded * kMaxStretch ? coded : static_cast<UINT>(width);
}

PngWriter::PngWriter()
    : factory_(CreateObject<IWICImagingFactory>(CLSID_WICImagingFactory,
                                                "cannot create the imaging component")) {}

void PngWriter::Write(const std::string& path, const MediaType& type, const BYTE* data,
                      std::size_t size, UINT width) const {
    const Picture picture = MakePicture(type, data, size);
    ComPtr<IStream> stream;
    HGLOBAL memory = nullptr;
    STATSTG facts{};
    Check(CreateStreamOnHGlobal(nullptr, TRUE, stream.GetAddressOf()),
          "cannot create a memory stream");
    Encode(*factory_.Get(), stream.Get(), picture, width != 0 ? width : picture.width);
    Check(stream->Stat(&facts, STATFLAG_NONAME), "cannot query the memory stream's size");
    Check(GetHGlobalFromStream(stream.Get(), &memory), "cannot access the memory stream");
    OutputFile file(path);
    file.Write(GlobalLock(memory), facts.cbSize.LowPart);
    file.Finish();
}

}  // namespace nyx::host
