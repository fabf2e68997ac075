#include "png_writer.h"

#include "output_file.h"

namespace nyx::host {
namespace {

/// Encodes into memory; OutputFile then reports the file's own errors.
HRESULT Encode(IWICImagingFactory& factory, IStream* stream, const Picture& picture) {
    ComPtr<IWICBitmapEncoder> encoder;
    HRESULT result =
        factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf());
    if (SUCCEEDED(result)) {
        result = encoder->Initialize(stream, WICBitmapEncoderNoCache);
    }
    ComPtr<IWICBitmapFrameEncode> frame;
    if (SUCCEEDED(result)) {
        result = encoder->CreateNewFrame(frame.GetAddressOf(), nullptr);
    }
    if (SUCCEEDED(result)) {
        result = frame->Initialize(nullptr);
    }
    if (SUCCEEDED(result)) {
        result = frame->SetSize(picture.width, picture.height);
    }
    const WICPixelFormatGUID& wanted =
        picture.hasAlpha ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat24bppBGR;
    WICPixelFormatGUID granted = wanted;
    if (SUCCEEDED(result)) {
        result = frame->SetPixelFormat(&granted);
    }
    if (SUCCEEDED(result) && granted != wanted) {
        result = WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT;
    }
    if (SUCCEEDED(result)) {
        result = frame->WritePixels(picture.height, picture.width * picture.BytesPerPixel(),
                                    static_cast<UINT>(picture.pixels.size()),
                                    const_cast<BYTE*>(picture.pixels.data()));
    }
    if (SUCCEEDED(result)) {
        result = frame->Commit();
    }
    return SUCCEEDED(result) ? encoder->Commit() : result;
}

}  // namespace

PngWriter::PngWriter() {
    Check(
        CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                         IID_IWICImagingFactory, reinterpret_cast<void**>(factory_.GetAddressOf())),
        "cannot create the imaging component");
}

void PngWriter::Write(const std::string& path, const Picture& picture) const {
    ComPtr<IStream> stream;
    HGLOBAL memory = nullptr;
    STATSTG facts{};
    Check(CreateStreamOnHGlobal(nullptr, TRUE, stream.GetAddressOf()),
          "cannot create a memory stream");
    Check(Encode(*factory_.Get(), stream.Get(), picture), "cannot encode the picture");
    Check(stream->Stat(&facts, STATFLAG_NONAME), "cannot query the memory stream's size");
    Check(GetHGlobalFromStream(stream.Get(), &memory), "cannot access the memory stream");
    OutputFile file(path);
    file.Write(GlobalLock(memory), facts.cbSize.LowPart);
    file.Finish();
}

}  // namespace nyx::host
