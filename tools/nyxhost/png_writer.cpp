#include "png_writer.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "output_file.h"
#include "picture_format.h"
#include "text.h"

namespace nyx::host {
namespace {

/// A picture in the layout of image files: rows from the top, no padding, B G R or B G R A bytes.
struct Picture {
    UINT width = 0;
    UINT height = 0;
    bool hasAlpha = false;
    std::vector<BYTE> pixels;

    UINT BytesPerPixel() const { return hasAlpha ? 4 : 3; }
};

void StoreRgbRow(const BYTE* row, UINT width, UINT from, UINT to, BYTE* out) {
    for (UINT x = 0; x < width; ++x) {
        std::copy_n(row + from * x, to, out + to * x);
    }
}

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
        StoreRgbRow(data + stride * row, picture.width, format->bits / 8u, picture.BytesPerPixel(),
                    picture.pixels.data() + outStride * y);
    }
    return picture;
}

/// The picture with rows of `width` pixels, by linear interpolation. Rows stay apart, as the two
/// fields of an interlaced picture need it.
Picture Resampled(const Picture& from, UINT width) {
    Picture to = from;
    to.width = width;
    const UINT bytes = from.BytesPerPixel();
    to.pixels.resize(std::size_t{width} * bytes * from.height);
    BYTE* out = to.pixels.data();
    for (UINT y = 0; y < from.height; ++y) {
        const BYTE* row = from.pixels.data() + std::size_t{y} * from.width * bytes;
        for (UINT x = 0; x < width; ++x) {
            const double place = std::clamp((x + 0.5) * from.width / width - 0.5, 0.0,
                                            static_cast<double>(from.width - 1));
            const auto left = static_cast<UINT>(place);
            const UINT right = std::min(left + 1, from.width - 1);
            for (UINT i = 0; i < bytes; ++i) {
                *out++ = static_cast<BYTE>(std::lround(
                    std::lerp(row[left * bytes + i], row[right * bytes + i], place - left)));
            }
        }
    }
    return to;
}

/// Encodes into memory; OutputFile then reports the file's own errors.
void Encode(IWICImagingFactory& factory, IStream* stream, const Picture& picture) {
    constexpr char kFailed[] = "cannot encode the picture";
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    Check(factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf()), kFailed);
    Check(encoder->Initialize(stream, WICBitmapEncoderNoCache), kFailed);
    Check(encoder->CreateNewFrame(frame.GetAddressOf(), nullptr), kFailed);
    Check(frame->Initialize(nullptr), kFailed);
    Check(frame->SetSize(picture.width, picture.height), kFailed);
    const WICPixelFormatGUID& wanted =
        picture.hasAlpha ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat24bppBGR;
    WICPixelFormatGUID granted = wanted;
    Check(frame->SetPixelFormat(&granted), kFailed);
    Check(granted == wanted ? S_OK : WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT, kFailed);
    Check(frame->WritePixels(picture.height, picture.width * picture.BytesPerPixel(),
                             static_cast<UINT>(picture.pixels.size()),
                             const_cast<BYTE*>(picture.pixels.data())),
          kFailed);
    Check(frame->Commit(), kFailed);
    Check(encoder->Commit(), kFailed);
}

}  // namespace

PngWriter::PngWriter()
    : factory_(CreateObject<IWICImagingFactory>(CLSID_WICImagingFactory,
                                                "cannot create the imaging component")) {}

void PngWriter::Write(const std::string& path, const MediaType& type, const BYTE* data,
                      std::size_t size, UINT width) const {
    Picture picture = MakePicture(type, data, size);
    if (width != 0 && width != picture.width) {
        picture = Resampled(picture, width);
    }
    ComPtr<IStream> stream;
    HGLOBAL memory = nullptr;
    STATSTG facts{};
    Check(CreateStreamOnHGlobal(nullptr, TRUE, stream.GetAddressOf()),
          "cannot create a memory stream");
    Encode(*factory_.Get(), stream.Get(), picture);
    Check(stream->Stat(&facts, STATFLAG_NONAME), "cannot query the memory stream's size");
    Check(GetHGlobalFromStream(stream.Get(), &memory), "cannot access the memory stream");
    OutputFile file(path);
    file.Write(GlobalLock(memory), facts.cbSize.LowPart);
    file.Finish();
}

}  // namespace nyx::host
