#include "raw_picture_reader.h"

#include <algorithm>
#include <cstring>

#include "failure.h"
#include "text.h"

namespace nyx::host {

RawPictureReader::RawPictureReader(const std::string& path, const PictureFormat& format, LONG width,
                                   LONG height, std::pair<LONG, LONG> rate)
    : file_(path) {
    const long long rows = height < 0 ? -1LL * height : height;
    const long long rowBytes = 1LL * width * format.bits / 8;
    const long long pictureBytes = rowBytes > LONG_MAX / rows ? LONG_MAX : rowBytes * rows;
    const long long count = file_.Size() / pictureBytes;
    if (count == 0 || file_.Size() % pictureBytes != 0 || count > LONG_MAX) {
        throw Failure(ExitCode::kInput, path + Format(" has %lld bytes, which is no whole number "
                                                      "of pictures of %lld bytes",
                                                      file_.Size(), pictureBytes));
    }
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = format.bits;
    header.biCompression = format.compression;
    header.biSizeImage = static_cast<DWORD>(pictureBytes);
    std::vector<BYTE> block(sizeof(header));
    std::memcpy(block.data(), &header, sizeof(header));
    SetFormat(std::move(block));
    SetRate(static_cast<DWORD>(rate.first), static_cast<DWORD>(rate.second));
    SetFrameSizes(
        std::vector<LONG>(static_cast<std::size_t>(count), static_cast<LONG>(pictureBytes)));
}

HRESULT RawPictureReader::Read(LONG index, void* buffer, LONG capacity, LONG* size) const {
    const auto wanted = static_cast<DWORD>(std::min(capacity, FrameSize(index)));
    *size = 0;
    try {
        *size = static_cast<LONG>(file_.ReadUpTo(1LL * index * FrameSize(index), buffer, wanted));
    } catch (const Failure&) {
        return HRESULT_FROM_WIN32(ERROR_READ_FAULT);
    }
    return *size == static_cast<LONG>(wanted) ? S_OK : HRESULT_FROM_WIN32(ERROR_HANDLE_EOF);
}

}  // namespace nyx::host
