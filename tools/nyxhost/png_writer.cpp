#include "png_writer.h"

#include "output_file.h"
#include "picture.h"

namespace nyx::host {
namespace {

constexpr char kFailed[] = "cannot encode the picture";

/// The picture as an image, which refers to its pixels, `width` pixels wide.
ComPtr<IWICBitmapSource> ScaledImage(IWICImagingFactory& factory, const Picture& picture,
                                     const WICPixelFormatGUID& format, UINT width) {
    ComPtr<IWICBitmap> bitmap;
    ComPtr<IWICBitmapScaler> scaler;
    Check(factory.CreateBitmapFromMemory(
              picture.width, picture.height, format, picture.width * picture.BytesPerPixel(),
              static_cast<UINT>(picture.pixels.size()), const_cast<BYTE*>(picture.pixels.data()),
              bitmap.GetAddressOf()),
          kFailed);
    if (width == picture.width) {
        return bitmap;
    }
    Check(factory.CreateBitmapScaler(scaler.GetAddressOf()), kFailed);
    Check(scaler->Initialize(bitmap.Get(), width, picture.height, WICBitmapInterpolationModeFant),
          kFailed);
    return scaler;
}

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
    const auto image = ScaledImage(factory, picture, wanted, width);
    Check(frame->WriteSource(image.Get(), nullptr), kFailed);
    Check(frame->Commit(), kFailed);
    Check(encoder->Commit(), kFailed);
}

}  // namespace

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
