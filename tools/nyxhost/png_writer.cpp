#include "png_writer.h"

#include "text.h"

namespace nyx::host {
namespace {

HRESULT Encode(IWICImagingFactory& factory, const wchar_t* path, const Picture& picture) {
    ComPtr<IWICStream> stream;
    HRESULT result = factory.CreateStream(stream.GetAddressOf());
    if (SUCCEEDED(result)) {
        result = stream->InitializeFromFilename(path, GENERIC_WRITE);
    }
    ComPtr<IWICBitmapEncoder> encoder;
    if (SUCCEEDED(result)) {
        result = factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf());
    }
    if (SUCCEEDED(result)) {
        result = encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache);
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
        "the imaging component cannot be created", ExitCode::kOutput);
}

void PngWriter::Write(const std::string& path, const Picture& picture) const {
    Check(Encode(*factory_.Get(), Wide(path).c_str(), picture), ("cannot write " + path).c_str(),
          ExitCode::kOutput);
}

}  // namespace nyx::host
