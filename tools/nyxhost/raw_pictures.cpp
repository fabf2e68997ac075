#include "raw_pictures.h"

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "failure.h"
#include "text.h"

namespace nyx::host {

FrameList OpenRawPictures(const std::string& path, const PictureFormat& format, LONG width,
                          LONG height, std::pair<LONG, LONG> rate) {
    const std::filesystem::path name(Wide(path));
    std::error_code error;
    const auto bytes = static_cast<long long>(std::filesystem::file_size(name, error));
    const auto file = std::make_shared<std::ifstream>(name, std::ios::binary);
    if (error || !*file) {
        throw Failure(ExitCode::kInput, "cannot open " + path);
    }
    const long long rows = std::llabs(height);
    const long long rowBytes = 1LL * width * format.bits / 8;
    const long long pictureBytes = rowBytes > LONG_MAX / rows ? LONG_MAX : rowBytes * rows;
    const long long count = bytes / pictureBytes;
    if (count == 0 || bytes % pictureBytes != 0 || count > LONG_MAX) {
        throw Failure(ExitCode::kInput, path + Format(" has %lld bytes, not a whole number of "
                                                      "pictures of %lld bytes",
                                                      bytes, pictureBytes));
    }
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = format.bits;
    header.biCompression = format.compression;
    header.biSizeImage = static_cast<DWORD>(pictureBytes);

    FrameList list;
    list.rate = rate;
    list.count = static_cast<LONG>(count);
    list.largest = static_cast<LONG>(pictureBytes);
    list.type =
        VideoType(*format.subtype, Block::kVideoInfo, list.TimeOf(1), &header, sizeof(header));
    list.type.bFixedSizeSamples = TRUE;
    list.type.lSampleSize = header.biSizeImage;
    list.read = [file, each = list.largest](LONG index, BYTE* to, LONG* size) {
        file->seekg(1LL * index * each);
        file->read(reinterpret_cast<char*>(to), each);
        *size = each;
        return *file ? S_OK : HRESULT_FROM_WIN32(ERROR_READ_FAULT);
    };
    return list;
}

}  // namespace nyx::host
